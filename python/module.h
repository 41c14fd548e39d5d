#pragma once

#include "terms.h"

namespace quarv::python {

/// Binds the class Manager.
void bind_manager(py::module_& m);

/// Binds the classes Sort, Function, Step and Derivation, and what comparing makes of what cannot be
/// compared.
void bind_derivations(py::module_& m);

}  // namespace quarv::python
