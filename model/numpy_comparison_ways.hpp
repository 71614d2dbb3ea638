// The two ways of taking over numpy's comparisons.
#pragma once

#include "module/static_type.hpp"

namespace quilex {

// numpy 1: the table of numeric operators.
bool has_operator_table() noexcept;
void install_in_operator_table();
void restore_operator_table();

// numpy 2: the rich comparison of ndarray and its subclasses.
void install_in_array_types();
void restore_array_types();

}  // namespace quilex
