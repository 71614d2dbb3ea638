// The walk through nested arguments: every method that takes "objects, nested in any way" uses it.
#pragma once

#include "module/failure.hpp"

namespace quilex {

inline constexpr int kDepthOfVariables = 32;
inline constexpr int kDepthOfConstraints = 31;

class ArgumentWalker {
  public:
    // `depth`: how many containers may lie inside one another.
    explicit ArgumentWalker(int depth) noexcept : depth_(depth) {}
    virtual ~ArgumentWalker() = default;

    // Visits every leaf of the arguments in order. The first leaf that throws ends the walk.
    void walk(PyObject* const* arguments, Py_ssize_t count) {
        for (Py_ssize_t i = 0; i < count; ++i) visit(arguments[i], depth_);
    }

    // Whether the walk goes into the object: list, tuple, any other sequence but str and bytes,
    // dict (its values), iterator, set or view of a dict, what offers an array of its contents.
    static bool is_container(PyObject* object) noexcept;

  protected:
    // Takes one leaf; throws with a Python exception set.
    virtual void leaf(PyObject* object) = 0;
    // Whether objects of exactly this type are leaves, which spares the container tests.
    virtual bool is_plain_leaf(PyTypeObject* type) const noexcept = 0;

  private:
    void visit(PyObject* object, int budget);
    void visit_list(PyObject* list, int budget);
    void visit_array(PyObject* array, int budget);
    void visit_sequence(PyObject* sequence, int budget);
    void visit_iterator(PyObject* iterator, int budget);

    int depth_;
};

}  // namespace quilex
