# The Python extension module, one object per source file of the extension's folders.
file(GLOB_RECURSE QUILEX_EXTENSION_SOURCES CONFIGURE_DEPENDS
    module/*.cpp model/*.cpp problem/*.cpp bridge/*.cpp callbacks/*.cpp nonlinear/*.cpp)
if(QUILEX_EXTENSION_SOURCES)
    Python_add_library(quilexlib MODULE WITH_SOABI ${QUILEX_EXTENSION_SOURCES})
    # A precompiled header differs from build tree to build tree, which ccache cannot see through.
    if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
        target_precompile_headers(quilexlib PRIVATE module/python.hpp)
    endif()
    target_link_libraries(quilexlib PRIVATE quilex_options qlx Python::NumPy)
endif()
