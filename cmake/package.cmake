# The Python package in the build tree, and what goes into the wheel.
set_target_properties(qlx PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${QUILEX_LIBRARY_DIR})
target_link_options(qlx PRIVATE LINKER:--disable-new-dtags)  # see copy_library.py

set_target_properties(quilexlib PROPERTIES
    LIBRARY_OUTPUT_DIRECTORY ${QUILEX_PYTHON_DIR}
    INSTALL_RPATH "$ORIGIN/quilex/lib")

# Python files are linked, not copied, into the build tree: an edit is seen at once.
file(GLOB QUILEX_PYTHON_FILES CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/quilex/*.py ${PROJECT_SOURCE_DIR}/quilex/*.pyi
    ${PROJECT_SOURCE_DIR}/quilex/py.typed)
file(MAKE_DIRECTORY ${QUILEX_PYTHON_DIR}/quilex)
foreach(file IN LISTS QUILEX_PYTHON_FILES)
    cmake_path(GET file FILENAME name)
    file(CREATE_LINK ${file} ${QUILEX_PYTHON_DIR}/quilex/${name} SYMBOLIC)
endforeach()

install(TARGETS quilexlib LIBRARY DESTINATION .)
install(TARGETS qlx LIBRARY DESTINATION quilex/lib NAMELINK_SKIP)
if(TARGET qlx_ordering)
    install(TARGETS qlx_ordering LIBRARY DESTINATION quilex/lib)
endif()
install(PROGRAMS ${QUILEX_SOLVER_LIBRARIES} DESTINATION quilex/lib)
install(FILES ${QUILEX_PYTHON_FILES} DESTINATION quilex)
