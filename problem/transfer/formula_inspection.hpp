// Test aids: formulas as they are written, kept and evaluated.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Published as quilexlib._formula_tokens, _formulas and _formula_value; tokens are lists of pairs
// (type, value).
extern PyMethodDef formula_inspection_methods[];

}  // namespace quilex
