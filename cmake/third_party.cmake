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
foreach(library gtest gmock)
    target_compile_options(${library} PRIVATE -g0) # else a program's identity would hold the build's folder
endforeach()

# A folder that holds these headers and none of the build machine's own.
set(debian_include ${PROJECT_BINARY_DIR}/debian)
file(MAKE_DIRECTORY ${debian_include})
foreach(headers CLI fmt nlohmann)
    file(CREATE_LINK /usr/include/${headers} ${debian_include}/${headers} SYMBOLIC)
endforeach()
add_library(debian_headers INTERFACE IMPORTED)
target_include_directories(debian_headers INTERFACE ${debian_include})
target_compile_definitions(debian_headers INTERFACE FMT_HEADER_ONLY)

# CMake's own search finds no static libarchive without the libraries it does not use here.
find_path(libarchive_include archive.h REQUIRED)
find_library(libarchive_library archive REQUIRED)
add_library(libarchive STATIC IMPORTED)
set_target_properties(libarchive PROPERTIES IMPORTED_LOCATION ${libarchive_library})
target_include_directories(libarchive INTERFACE ${libarchive_include})
target_compile_definitions(libarchive INTERFACE LIBARCHIVE_STATIC)
target_link_libraries(libarchive INTERFACE bcrypt)
