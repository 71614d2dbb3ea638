// Functions through which the tests reach the conversions directly.
#include "bridge/conversion_check.hpp"

#include "bridge/conversion.hpp"
#include "bridge/new_objects.hpp"
#include "module/boundary.hpp"

namespace quilex {

namespace {

#ifdef QUILEX_COUNT_OBJECTS

Problem* problem_or_null(PyObject* object) {
    if (object == Py_None) return nullptr;
    if (!is_problem(object)) raise_runtime_error("A problem is required");
    return reinterpret_cast<Problem*>(object);
}

// An allocator that fails once, after a number of allocations.
int64_t allocations_left = 0;
const qo_MemoryAllocator_Operations* heap = nullptr;

bool allocation_fails() noexcept {
    return allocations_left-- == 0;
}

int failing_allocate(void* context, size_t size, void** block) noexcept {
    *block = nullptr;
    return allocation_fails() ? -1 : heap->allocate(context, size, block);
}

int failing_reallocate(void* context, void** block, size_t size) noexcept {
    return allocation_fails() ? -1 : heap->reallocate(context, block, size);
}

int forwarding_free(void* context, void** block) noexcept {
    return heap->free(context, block);
}

int always_one(void*) noexcept {
    return 1;
}

constexpr qo_MemoryAllocator_Operations kFailing = {failing_allocate, failing_reallocate,
                                                    forwarding_free, always_one, 1};

class FailingAllocator {
  public:
    explicit FailingAllocator(int64_t successes) {
        if (successes < 0) return;
        allocations_left = successes;
        heap = std::exchange(qo_MemoryAllocator_DefaultHeap.operations, &kFailing);
    }
    ~FailingAllocator() {
        if (heap != nullptr) {
            qo_MemoryAllocator_DefaultHeap.operations = std::exchange(heap, nullptr);
        }
    }
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;
};

// _convert(problem, values, kind, expected, output, allocations): converts to an array, with the
// array length `expected`, and the array back into the list `output`. Returns the count.
Ref convert(PyObject*, PyObject* arguments) {
    PyObject* problem = nullptr;
    PyObject* values = nullptr;
    PyObject* output = nullptr;
    int kind = 0;
    long long expected = 0;
    long long allocations = -1;
    if (!PyArg_ParseTuple(arguments, "OOiLOL", &problem, &values, &kind, &expected, &output,
                          &allocations)) {
        throw PythonFailure();
    }
    const FailingAllocator failing(allocations);
    Ref result;
    int64_t count = expected;
    if (kind == kString) {
        const auto array = convert_container<kString>(problem_or_null(problem), &count, values);
        if (conv_arr2obj(problem, count, array.get(), &output, kind) != 0) throw PythonFailure();
        return require(PyLong_FromLongLong(count));
    }
    void* array = nullptr;
    if (conv_obj2arr(as_object(problem_or_null(problem)), &count, values, &array, kind) != 0) {
        if (!PyErr_Occurred()) throw std::bad_alloc();
        throw PythonFailure();
    }
    const Block<char> owner = Block<char>::adopt(static_cast<char*>(array));
    if (conv_arr2obj(problem, count, array, &output, kind) != 0) throw PythonFailure();
    return require(PyLong_FromLongLong(count));
}

// _index(problem, object, kind): one value as an index.
Ref index(PyObject*, PyObject* arguments) {
    PyObject* problem = nullptr;
    PyObject* object = nullptr;
    int kind = 0;
    if (!PyArg_ParseTuple(arguments, "OOi", &problem, &object, &kind)) throw PythonFailure();
    int result = 0;
    if (ObjInt2int(object, as_object(problem_or_null(problem)), &result, kind) != 0) {
        throw PythonFailure();
    }
    return require(PyLong_FromLong(result));
}

template <ElementKind Kind>
ConvertedArray<Kind> array_or_none(Problem* problem, int64_t* length, PyObject* object) {
    if (object == Py_None) return {};
    return convert_container<Kind>(problem, length, object);
}

// _add_columns(problem, names, types, columns, letters, first, count).
Ref add_columns(PyObject*, PyObject* arguments) {
    PyObject* object = nullptr;
    PyObject* names = nullptr;
    PyObject* types = nullptr;
    PyObject* columns = nullptr;
    PyObject* letters = nullptr;
    int first = 0;
    int count = 0;
    if (!PyArg_ParseTuple(arguments, "OOOOOii", &object, &names, &types, &columns, &letters, &first,
                          &count)) {
        throw PythonFailure();
    }
    Problem* const problem = problem_or_null(object);
    int64_t length = -1;
    const auto entity_columns = array_or_none<kInt32>(problem, &length, columns);
    const auto entity_letters = array_or_none<kCharacter>(problem, &length, letters);
    addColsAsVariables(problem, names, types,
                       {entity_columns.elements(), entity_letters.elements(), {}}, first, count);
    return none();
}

// _name_columns(problem, names, letters, first, count).
Ref name_columns(PyObject*, PyObject* arguments) {
    PyObject* problem = nullptr;
    PyObject* names = nullptr;
    const char* letters = nullptr;
    int first = 0;
    int count = 0;
    if (!PyArg_ParseTuple(arguments, "OOzii", &problem, &names, &letters, &first, &count)) {
        throw PythonFailure();
    }
    nameAndTypeColumns(problem_or_null(problem), names, letters, first, count);
    return none();
}

#endif

}  // namespace

PyMethodDef conversion_check_methods[] = {
#ifdef QUILEX_COUNT_OBJECTS
    {"_convert", method<convert>, METH_VARARGS, nullptr},
    {"_index", method<index>, METH_VARARGS, nullptr},
    {"_add_columns", method<add_columns>, METH_VARARGS, nullptr},
    {"_name_columns", method<name_columns>, METH_VARARGS, nullptr},
#endif
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace quilex
