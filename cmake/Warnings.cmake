# On for whoever works on the code, by the presets. Other compilers know other warnings, by which nobody who only
# builds is to be stopped.
option(BLUETOOTH_WERROR "Take warnings for errors" OFF)

# Every target of ours is compiled with these; headers of libraries are system headers and stay out of it.
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wformat=2
    $<$<CONFIG:Debug>:-Wnull-dereference> # where all is inlined, GCC suspects Qt's headers of what they do not do
    $<$<BOOL:${BLUETOOTH_WERROR}>:-Werror>)
# Qt's lower-case keywords would clash with Boost, and implicit text conversions hide encodings.
target_compile_definitions(project_options INTERFACE QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS)
