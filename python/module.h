#pragma once

#include "terms.h"

namespace quarv::python {

/// Binds the class Manager.
void bind_manager(py::module_& m);

/// Binds the classes Sort, Function, Step and Derivation, and what comparing makes of what cannot be
/// compared.
void bind_derivations(py::module_& m);

/// Adds to Term, and binds beside it, what terms need to travel.
void bind_shipments(py::module_& m, py::class_<PyTerm>& type);

/// Adds to them how terms become z3's, and z3's become terms.
void bind_z3_writer(py::class_<PyTerm>& type);
void bind_z3_reader(py::class_<PyManager>& type);

}  // namespace quarv::python
