// Conversion between Python containers and the library's flat arrays, by element kind.
#pragma once

#include "bridge/element_kinds.hpp"
#include "module/allocator.hpp"
#include "problem/problem.hpp"

namespace quilex {

// One Python value as a library index; kind kRowIndex, kColumnIndex or kSetIndex. An int is taken
// as it is, without a check of its range. Returns 0, or -1 with an exception set.
int ObjInt2int(PyObject* object, PyObject* problem, int* index, int kind) noexcept;

// A Python container as a new array of the module allocator, which the caller frees. None or null:
// no array, count untouched. `count` may be null; a count of 0 or more is the length that the
// container must have (iterators aside), a negative one receives the length. Returns 0, or -1 with
// an exception set (none when the allocator failed).
int conv_obj2arr(PyObject* problem, int64_t* count, PyObject* object, void** array,
                 int kind) noexcept;

// Fills the caller's list in place with `count` elements: the list is cut or extended to that
// length. A null array, and None or null as the list, mean that there is nothing to do. Returns 0,
// or -1 with an exception set.
int conv_arr2obj(PyObject* problem, int64_t count, const void* array, PyObject** list,
                 int kind) noexcept;

// The throwing form of ObjInt2int.
int require_index(Problem* problem, PyObject* object, ElementKind kind);

// An array with its length; strings are freed with it.
template <ElementKind Kind>
class ConvertedArray {
  public:
    using Type = Element<Kind>;

    constexpr ConvertedArray() noexcept = default;
    explicit ConvertedArray(size_t capacity) : block_(capacity) {}
    ConvertedArray(ConvertedArray&& other) noexcept
        : block_(std::move(other.block_)), size_(std::exchange(other.size_, 0)) {}
    ConvertedArray& operator=(ConvertedArray&& other) noexcept {
        std::swap(block_, other.block_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~ConvertedArray() {
        if constexpr (Kind == kString) {
            for (size_t i = 0; i < size_; ++i) Block<char>::adopt(block_[i]);
        }
    }

    // Adds an element, for which there must be room.
    void append(Type value) noexcept { block_[size_++] = value; }
    // Claims elements that the caller has written through get().
    void set_size(size_t size) noexcept { size_ = size; }
    void reserve(size_t capacity) { block_.resize(capacity); }

    Type* get() const noexcept { return block_.get(); }
    size_t size() const noexcept { return size_; }
    std::span<Type> elements() const noexcept { return {block_.get(), size_}; }
    Type* release() noexcept {
        size_ = 0;
        return block_.release();
    }

  private:
    Block<Type> block_;
    size_t size_ = 0;
};

// The throwing form of conv_obj2arr, for one kind. `count` as there.
template <ElementKind Kind>
ConvertedArray<Kind> convert_container(Problem* problem, int64_t* count, PyObject* object);

// One Python value as an array element.
template <ElementKind Kind>
Element<Kind> convert_element(Problem* problem, PyObject* item);

// Reads a numpy array through its buffer. False where its elements have to be converted one by
// one; throws where the array cannot be converted at all.
template <ElementKind Kind>
bool convert_numpy_buffer(PyObject* array, ConvertedArray<Kind>& result);

// Throws the pending exception again. Where `container` is a str of several characters, which were
// taken as names, the message says how its own name is passed.
[[noreturn]] void raise_with_hint(PyObject* container);

// Checks a length against `count`, as conv_obj2arr states it.
void check_length(int64_t* count, Py_ssize_t length);

}  // namespace quilex
