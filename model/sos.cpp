// quilex.SOS: a special ordered set of variables.
#include "model/sos.hpp"

namespace quilex {

PyTypeObject sos_type = {PyVarObject_HEAD_INIT(nullptr, 0) "quilex.SOS", sizeof(SpecialOrderedSet),
                         0};

Owned<SpecialOrderedSet> sos_base() {
    raise_runtime_error("sos_base is not written yet");
}

}  // namespace quilex
