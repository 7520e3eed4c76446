# Every target of ours is compiled with these; headers of libraries are system headers and stay out of it.
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wformat=2 -Wnull-dereference -Werror)
# Qt's lower-case keywords would clash with Boost, and implicit text conversions hide encodings.
target_compile_definitions(project_options INTERFACE QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS)
