# One of: empty, "address,undefined", "thread". Set by the presets.
set(SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
if(SANITIZE)
    add_compile_options(-fsanitize=${SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${SANITIZE})
endif()
