# What this project's own targets are compiled and linked with; third-party code is not.
add_library(own_code INTERFACE)
target_include_directories(own_code INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
target_compile_definitions(own_code INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
    _GLIBCXX_ASSERTIONS) # an index out of range ends the program, rather than going on with what it finds
target_compile_options(own_code INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall;-Wextra;-Wconversion;-Wsign-conversion;-Wshadow;-Werror>)
target_link_options(own_code INTERFACE
    -static
    LINKER:--gc-sections
    LINKER:--dynamicbase
    LINKER:--nxcompat
    LINKER:--high-entropy-va)
