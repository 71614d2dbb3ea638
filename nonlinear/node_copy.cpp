// Deep copies of expression trees, scaled. Without recursion: trees may be deeper than the C stack.
#include "model/general_operations.hpp"
#include "module/small_stack.hpp"
#include "nonlinear/shared_operands.hpp"

namespace quilex {

namespace {

// A node that is being copied: its operands go one after the other into the new container.
// Converting a number of the user's own type runs Python code, which may change the tree that is
// being copied: everything in use is owned here.
struct CopyFrame {
    Ref source;
    double scale;
    Ref container;  // the new tuple or list; empty for a single operand
    Ref single;
    Ref shared;  // the shared operands of a sum, which need no copies
    int32_t shared_count = 0;
    Py_ssize_t placed = 0;  // items of the container before the first copied one
    Py_ssize_t next = 0;
};

// With room for `before` items in front.
Ref copy_container(PyObject* args, Py_ssize_t before) {
    const Py_ssize_t size = before + PySequence_Fast_GET_SIZE(args);
    return require(PyList_Check(args) ? PyList_New(size) : PyTuple_New(size));
}

// A function of a variable, a term or a number can be shared by a copy and its original: there
// is no operator that changes it in place. (Other numbers than floats become floats when copied.)
bool is_never_changed(PyObject* node) noexcept {
    const int op = as_node(node)->op;
    PyObject* const operand = as_node(node)->args;
    if (operand == nullptr || op < kExp || op == kMax || op == kMin || op == kUser) return false;
    const OperandKind kind = classify(operand);
    return kind == kVariable || kind == kLinearTerm || kind == kQuadraticTerm ||
           PyFloat_CheckExact(operand);
}

// s times a product node that nobody else holds yet.
Ref scale_product(Ref product, double scale) {
    const Py_ssize_t size = PyList_GET_SIZE(as_node(product.get())->args);
    PyObject* const last =
        size > 0 ? PyList_GET_ITEM(as_node(product.get())->args, size - 1) : nullptr;
    if (last == nullptr || classify(last) != kConstant) {
        append_operand(product.get(), make_float(scale).get());
        return product;
    }
    const double factor = constant_value(last) * scale;
    if (factor == 1.0) {
        remove_operand(product.get(), size - 1);
    } else {
        replace_operand(product.get(), size - 1, make_float(factor).get());
    }
    return product;
}

Ref scale_copy(Ref copy, double scale) {
    if (scale == 1.0) return copy;
    if (is_product(copy.get())) return scale_product(std::move(copy), scale);
    return nonlin_instantiate_binary(kProduct, make_float(scale).get(), copy.get());
}

class TreeCopy {
  public:
    Ref run(PyObject* root, double scale) {
        Ref result = begin(root, scale);
        while (!frames_.empty()) {
            if (result) store(std::move(result));
            CopyFrame& top = frames_.back();
            const Ref operand = Ref::share(next_operand(top));
            if (!operand) {
                result = finish(top);
                frames_.pop_back();
            } else {
                result = begin_operand(top, operand.get());
            }
        }
        return result;
    }

  private:
    // The copy of a leaf, or an empty reference after opening a frame for a node.
    Ref begin(PyObject* object, double scale) {
        // A copy absorbs negations into its scale.
        while (is_nonlinear(object) && as_node(object)->op == kNegation &&
               as_node(object)->args != nullptr) {
            object = as_node(object)->args;
            scale = -scale;
        }
        if (!is_nonlinear(object)) return general_copy(object, scale);
        CopyFrame frame{share(object), scale, Ref(), Ref(), Ref()};
        PyObject* const args = as_node(object)->args;
        if (args != nullptr && (PyTuple_Check(args) || PyList_Check(args))) {
            if (frames_.empty()) {
                frame.shared = Ref::share(as_node(object)->shared);
                frame.shared_count = as_node(object)->shared_count;
            } else {
                frame.placed = as_node(object)->shared_count;
            }
            frame.container = copy_container(args, frame.placed);
            place_shared_operands(as_node(object), frame);
        }
        frames_.push_back(std::move(frame));
        return Ref();
    }

    // A sum inside another node has its operands in a list of its own: a list that is shared may
    // then hold it without a cycle, whatever it was copied from.
    static void place_shared_operands(NonlinearNode* sum, const CopyFrame& frame) {
        for (Py_ssize_t i = 0; i < frame.placed; ++i) {
            PyList_SET_ITEM(frame.container.get(), i,
                            Ref::share(PyList_GET_ITEM(sum->shared, i)).release());
        }
    }

    Ref begin_operand(const CopyFrame& frame, PyObject* operand) {
        if (is_nonlinear(operand)) {
            if (is_never_changed(operand)) return share(operand);
            return begin(operand, 1.0);
        }
        const bool is_user_function = as_node(frame.source.get())->op == kUser && frame.next == 1;
        if (is_user_function && PyCallable_Check(operand)) return share(operand);
        if (classify(operand) == kInvalid)
            raise_runtime_error(frame.container
                                    ? "Invalid object being copied from argument list/tuple in a "
                                      "nonlinear expression"
                                    : "Invalid object being copied from single argument in a "
                                      "nonlinear expression");
        return general_copy(operand, 1.0);
    }

    static PyObject* next_operand(CopyFrame& frame) noexcept {
        PyObject* const args = as_node(frame.source.get())->args;
        const Py_ssize_t position = frame.next++;
        if (!frame.container) return position == 0 ? args : nullptr;
        const bool inside =
            position < PySequence_Fast_GET_SIZE(args) &&
            frame.placed + position < PySequence_Fast_GET_SIZE(frame.container.get());
        return inside ? PySequence_Fast_GET_ITEM(args, position) : nullptr;
    }

    void store(Ref copy) {
        CopyFrame& top = frames_.back();
        if (!top.container) {
            top.single = std::move(copy);
        } else if (PyList_Check(top.container.get())) {
            PyList_SET_ITEM(top.container.get(), top.placed + top.next - 1, copy.release());
        } else {
            PyTuple_SET_ITEM(top.container.get(), top.next - 1, copy.release());
        }
    }

    static Ref finish(CopyFrame& frame) {
        const int op = as_node(frame.source.get())->op;
        Ref copy;
        if (frame.container) {
            if (PyList_Check(frame.container.get()))  // the source may have become shorter
                require_status(PyList_SetSlice(frame.container.get(), frame.placed + frame.next - 1,
                                               PyList_GET_SIZE(frame.container.get()), nullptr));
            copy = make_container_node(op, std::move(frame.container));
            take_shared_operands(copy.get(), frame.shared.get(), frame.shared_count);
        } else if (frame.single) {
            copy = make_unary(op, frame.single.get());
        } else {
            Owned<NonlinearNode> empty = nonlin_base();
            empty->op = op;
            copy = std::move(empty);
        }
        return scale_copy(std::move(copy), frame.scale);
    }

    static constexpr size_t kUsualDepth = 6;

    SmallStack<CopyFrame, kUsualDepth> frames_;
};

}  // namespace

Ref nonlin_copy(PyObject* node, double scale) {
    return TreeCopy().run(node, scale);
}

Ref copy_operand(PyObject* operand, double scale) {
    if (scale == 1.0 && is_nonlinear(operand) && is_never_changed(operand)) return share(operand);
    return general_copy(operand, scale);
}

}  // namespace quilex
