# Imported targets for the solver libraries that come from PyPI build requirements.
execute_process(
    COMMAND ${Python_EXECUTABLE} -c "import highsbox; print(highsbox.highs_dist_dir())"
    OUTPUT_VARIABLE QUILEX_HIGHS_DIR OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(
    COMMAND ${Python_EXECUTABLE} -c
        "import importlib.util, os; print(os.path.dirname(importlib.util.find_spec('casadi').origin))"
    OUTPUT_VARIABLE QUILEX_CASADI_DIR OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)

add_library(quilex_highs SHARED IMPORTED)
set_target_properties(quilex_highs PROPERTIES
    IMPORTED_LOCATION ${QUILEX_HIGHS_DIR}/lib/libhighs.so
    INTERFACE_INCLUDE_DIRECTORIES ${QUILEX_HIGHS_DIR}/include/highs)
