# Warning, sanitizer and counting flags, carried by one interface target.
# Python's type objects are filled by name and have dozens of members, hence the one warning less.
add_library(quilex_options INTERFACE)
target_compile_options(quilex_options INTERFACE
    -Wall -Wextra -Wconversion -Wno-missing-field-initializers -fno-math-errno)
target_include_directories(quilex_options INTERFACE
    ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
if(QUILEX_COUNT_OBJECTS)
    target_compile_definitions(quilex_options INTERFACE QUILEX_COUNT_OBJECTS=1)
endif()
if(QUILEX_SANITIZE)
    target_compile_options(quilex_options INTERFACE
        -fsanitize=${QUILEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(quilex_options INTERFACE -fsanitize=${QUILEX_SANITIZE})
endif()
