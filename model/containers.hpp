// What counts as a container of operands, wherever an argument may be one.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Sets and the views of dicts: they are iterated.
bool is_set_or_view(PyObject* object) noexcept;

// Whether an object that is none of Python's and numpy's own containers and scalars, and no
// modelling object, knows how to be an array: a data frame, a series, a labelled array. Their
// lengths and items may go by column or by label, so that they are never read as sequences.
bool offers_array(PyObject* object) noexcept;

// The array that such an object offers, as numpy.asarray makes it.
Ref offered_array(PyObject* object);

// The object itself, or the array that it offers.
Ref array_if_offered(PyObject* object);

// An array with its numbers as doubles: types of its own would wrap at a negation or round a
// quotient, and booleans have no negation.
Ref as_doubles(PyObject* array);

// The same only where its numbers are of a type whose scalars are no constants of operators:
// booleans, short and unsigned integers, halves.
Ref small_numbers_as_doubles(PyObject* array);

// Whether an object is what a masked array has in the place of a masked element.
bool is_masked_element(PyObject* object);

// A plain array in the place of one with masked elements, which become the number; else the array.
Ref with_masked_elements_as(double number, PyObject* array);

}  // namespace quilex
