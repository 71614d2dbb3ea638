# What the build needs of the system, asked for before project() fails without saying what to
# install. Only the path is searched, as by the compilers' own callers.
foreach(need IN ITEMS "C:CC:cc;gcc;clang" "CXX:CXX:c++;g++;clang++")
    string(REPLACE ":" ";" need "${need}")
    list(POP_FRONT need language variable)
    if(CMAKE_${language}_COMPILER OR NOT "$ENV{${variable}}" STREQUAL "")
        continue()
    endif()
    find_program(QUILEX_FOUND_${language} NAMES ${need})
    if(NOT QUILEX_FOUND_${language})
        message(FATAL_ERROR
            "Quilex is compiled when it is installed and needs a C++ compiler. Please install one:\n"
            "  Debian, Ubuntu: sudo apt-get install g++\n"
            "  Fedora: sudo dnf install gcc-c++")
    endif()
endforeach()
