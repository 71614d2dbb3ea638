// Modelling objects for columns and rows that were added in the library's own terms.
#include "bridge/new_objects.hpp"

#include <algorithm>
#include <numeric>

#include "model/constraint.hpp"
#include "model/containers.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/text.hpp"

namespace quilex {

namespace {

bool is_given(PyObject* list) noexcept {
    return list != nullptr && list != Py_None;
}

// An item that is a str or bytes object; the message takes the position.
Ref text_item(PyObject* list, int position, const char* message) {
    Ref item = Ref::steal(PySequence_GetItem(list, position));
    if (!item || (!PyUnicode_Check(item.get()) && !PyBytes_Check(item.get()))) {
        raise_runtime_error(message, position);
    }
    return item;
}

void require_length(PyObject* list, int count, const char* message) {
    if (is_given(list) && PySequence_Size(list) != count) raise_runtime_error("%s", message);
}

int type_of_letter(char letter) {
    switch (letter) {
        case 'C':
            return kContinuous;
        case 'B':
            return kBinary;
        case 'I':
            return kInteger;
        case 'S':
            return kSemiContinuous;
        case 'R':
            return kSemiInteger;
        case 'P':
            return kPartiallyInteger;
        default:
            raise_runtime_error("Incorrect variable type");
    }
}

char letter_item(PyObject* types, int position) {
    constexpr const char* message = "Cannot get variable type with index %d";
    const Ref item = text_item(types, position, message);
    if (PyBytes_Check(item.get())) {
        if (PyBytes_GET_SIZE(item.get()) == 0) raise_runtime_error(message, position);
        return PyBytes_AS_STRING(item.get())[0];
    }
    if (PyUnicode_GET_LENGTH(item.get()) == 0) raise_runtime_error(message, position);
    const Py_UCS4 character = PyUnicode_ReadChar(item.get(), 0);
    return character > 0x7F ? '\0' : static_cast<char>(character);
}

std::string letters_of_entities(const Entities& entities, int count) {
    std::string letters(static_cast<size_t>(count), 'C');
    for (size_t i = 0; i < entities.columns.size(); ++i) {
        const int column = entities.columns[i];
        if (column < 0 || column >= count) {
            raise_runtime_error("Entity %zd is of column %d, which is not one of the %d new ones",
                                static_cast<Py_ssize_t>(i), column, count);
        }
        letters[static_cast<size_t>(column)] = entities.letters[i];
    }
    return letters;
}

// Enters new objects at the end of a list and in its map, all of them or none. The messages are
// those of a list and a map that do not take an object.
template <class Object>
void enter_all(const std::vector<Owned<Object>>& objects, int first, ObjectList& list,
               IndexMap& map, const char* list_message, const char* map_message) {
    const int old_size = list.size();
    size_t entered = 0;
    try {
        for (; entered < objects.size(); ++entered) {
            const Owned<Object>& object = objects[entered];
            if (!guarded([&] { list.append(as_object(object.get())); })) {
                raise_runtime_error(list_message, static_cast<int>(object->index));
            }
            const int index = first + static_cast<int>(entered);
            if (!guarded([&] { map.insert(object->index, index); })) {
                raise_runtime_error("%s", map_message);
            }
        }
    } catch (...) {
        for (size_t i = 0; i < entered; ++i) map.erase_serial(objects[i]->index);
        list.truncate(old_size);
        throw;
    }
}

}  // namespace

void addColsAsVariables(Problem* problem, PyObject* given_names, PyObject* given_types,
                        const Entities& entities, int first, int count) {
    const Ref held_names = array_if_offered(given_names);
    const Ref held_types = array_if_offered(given_types);
    PyObject* const names = held_names.get();
    PyObject* const types = held_types.get();
    require_length(names, count, "Incorrect length of variable name list");
    require_length(types, count, "Incorrect length of variable type list");
    const bool typed = is_given(types) || !entities.columns.empty();
    const std::string letters =
        is_given(types) ? std::string() : letters_of_entities(entities, count);
    std::vector<Owned<Variable>> variables;
    variables.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        Domain domain;
        const Ref name =
            is_given(names) ? text_item(names, i, "Cannot get variable name indexed by %d") : Ref();
        if (typed) {
            const char letter =
                is_given(types) ? letter_item(types, i) : letters[static_cast<size_t>(i)];
            domain.vartype = type_of_letter(letter);
        }
        domain.name = name.get();
        variables.push_back(var_base(domain));
    }
    enter_all(variables, first, problem->variables, problem->var_index,
              "Cannot add variable to problem's variable set", "Could not amend variable map");
}

void addRowsAsConstraints(Problem* problem, PyObject* given_names, int first, int count) {
    const Ref held_names = array_if_offered(given_names);
    PyObject* const names = held_names.get();
    std::vector<Owned<Constraint>> constraints;
    constraints.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        Owned<Constraint> constraint = constraint_base();
        if (is_given(names)) {
            constraint->name = text_item(names, i, "Cannot get row name indexed by %d").release();
        }
        constraints.push_back(std::move(constraint));
    }
    enter_all(constraints, first, problem->constraints, problem->con_index,
              "Cannot add row %d to problem's list of constraints",
              "Could not amend constraint map");
}

void disown_constraints(Problem* problem, int first, int count) noexcept {
    const int end = std::min(first + count, problem->constraints.size());
    for (int i = first; i < end; ++i) {
        const PyObject* const constraint = problem->constraints[i];
        problem->con_index.erase_serial(reinterpret_cast<const Constraint*>(constraint)->index);
    }
}

void nameAndTypeColumns(Problem* problem, PyObject* given_names, const char* letters, int first,
                        int count) {
    const Ref held_names = array_if_offered(given_names);
    PyObject* const names = held_names.get();
    for (int i = 0; is_given(names) && i < count; ++i) {
        const Ref item = Ref::steal(PySequence_GetItem(names, i));
        const Block<char> name = Block<char>::adopt(item ? pyStrToStr(item.get()) : nullptr);
        if (!name) raise_runtime_error("Erroneous name for variable %d", i);
        require_library(as_object(problem), QLXaddnames(problem->prob, QLX_NAMES_COLUMN, name.get(),
                                                        first + i, first + i));
    }
    if (letters == nullptr || count == 0) return;
    Block<int> indices;
    if (!guarded([&] { indices = Block<int>(static_cast<size_t>(count)); })) {
        raise_runtime_error("Cannot allocate %d columns", count);
    }
    std::iota(indices.get(), indices.get() + count, first);
    require_library(as_object(problem),
                    QLXchgcoltype(problem->prob, count, indices.get(), letters));
}

}  // namespace quilex
