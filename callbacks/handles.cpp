// quilex.poolcut, quilex.qlxobject and quilex.generic.
#include "callbacks/handles.hpp"

#include "module/live_counts.hpp"
#include "module/static_type.hpp"

namespace quilex {

namespace {

template <Counted What>
PyObject* handle_new(PyTypeObject* type, PyObject*, PyObject*) noexcept {
    PyObject* const self = type->tp_alloc(type, 0);
    if (self != nullptr) count_created(What);
    return self;
}

template <Counted What>
void handle_dealloc(PyObject* self) noexcept {
    count_destroyed(What);
    Py_TYPE(self)->tp_free(self);
}

template <Counted What>
PyTypeObject handle_type(const char* name, const char* doc) noexcept {
    PyTypeObject type = static_type(name, sizeof(Handle), doc);
    type.tp_dealloc = handle_dealloc<What>;
    type.tp_new = handle_new<What>;
    return type;
}

Ref create(PyTypeObject* type, void* pointer) {
    Ref self = require(type->tp_new(type, nullptr, nullptr));
    reinterpret_cast<Handle*>(self.get())->pointer = pointer;
    return self;
}

void* pointer_of(PyObject* object, PyTypeObject* type) {
    if (!PyObject_TypeCheck(object, type)) {
        raise_runtime_error("%s object expected, found %R", type->tp_name, object);
    }
    return reinterpret_cast<Handle*>(object)->pointer;
}

}  // namespace

PyTypeObject poolcut_type = handle_type<Counted::kPoolCut>(
    "quilex.poolcut",
    "Poolcut objects. These are used by callback functions when creating\n"
    "cuts within a Branch-and-bound.");
PyTypeObject qlxobject_type = handle_type<Counted::kLibraryObject>(
    "quilex.qlxobject",
    "Wrapper for the library's generic object type QLXobject, used in callback functions");
PyTypeObject generic_type = handle_type<Counted::kGeneric>(
    "quilex.generic", "Generic object used within callback functions");

Ref poolcut_create(void* cut) {
    return create(&poolcut_type, cut);
}
Ref qlxobject_create(void* object) {
    return create(&qlxobject_type, object);
}
Ref voidstar_create(void* pointer) {
    return create(&generic_type, pointer);
}

void* poolcut_getcut(PyObject* object) {
    return pointer_of(object, &poolcut_type);
}
void* qlxobject_getobject(PyObject* object) {
    return pointer_of(object, &qlxobject_type);
}

}  // namespace quilex
