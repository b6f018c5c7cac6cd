# Sources and headers that Debian ships for any target.

# GoogleTest compiles as it is: warnings of third-party code are not ours to fix.
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW) # let the next lines hold for GoogleTest's older CMake code
set(gtest_disable_pthreads ON)
set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_definitions(gtest PUBLIC GTEST_HAS_NOTIFICATION_=1)
    target_compile_options(gtest PUBLIC -include ${CMAKE_CURRENT_LIST_DIR}/gtest_notification.h)
endif()

# A folder that holds the headers of CLI11 and none of the build machine's own.
set(cli11_include ${PROJECT_BINARY_DIR}/cli11)
file(MAKE_DIRECTORY ${cli11_include})
file(CREATE_LINK /usr/include/CLI ${cli11_include}/CLI SYMBOLIC)
add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 INTERFACE ${cli11_include})
