# SPDX-License-Identifier: MIT
# Builds the examples with the installed libraries.
cmake_minimum_required(VERSION 3.25)
project(l2vpn_db_examples LANGUAGES C CXX)
set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
find_package(l2vpn_db REQUIRED)

file(GLOB examples *.c *.cpp)
foreach(example ${examples})
  cmake_path(GET example STEM name)
  cmake_path(GET example EXTENSION LAST_ONLY extension)
  if(extension STREQUAL .cpp)
    string(APPEND name _cxx)
  endif()
  add_executable(${name} ${example})
  # table_walker finds functions of the libraries with dlsym only.
  target_link_options(${name} PRIVATE -Wl,--no-as-needed)
  target_link_libraries(${name} PRIVATE l2vpn_db::l2vpn_db l2vpn_db::platform ${CMAKE_DL_LIBS})
endforeach()
