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
    LINKER:--high-entropy-va
    LINKER:--build-id) # a crash dump holds it, and so does the file of symbols
# What is handed out, and its symbols, tell nothing of the folder that it was made in.
# Without the second option GCC would name the libraries' headers by whichever is shorter, the link or its target.
target_compile_options(own_code INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}=zdv-ftp -fno-canonical-system-headers)

# Gives a program a version resource, and its symbols a file of their own: FILE.debug beside it.
function(make_handout target file type description)
    get_filename_component(name ${file} NAME_WE)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    add_custom_command(TARGET ${target} POST_BUILD WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}>
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
        COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${file}.debug ${file}
        VERBATIM)
endfunction()
