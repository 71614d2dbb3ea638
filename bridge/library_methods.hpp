// The problem's methods that stand for one library function each, under the function's name.
#pragma once

#include "module/python.hpp"

namespace quilex {

extern PyMethodDef change_methods[];  // chgrhs, chgbounds, chgcoef ...

}  // namespace quilex
