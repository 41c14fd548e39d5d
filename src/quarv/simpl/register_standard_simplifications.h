#pragma once

#include <quarv/export.h>

namespace quarv {

class StdTermSimplifier;
class TermManager;

namespace termsimpl {

/// Creates and registers all standard simplifiers, in a fixed order. To be called once for a registry; what
/// was registered before an exception stays registered.
QUARV_API void register_standard_simplifications(TermManager* mgr, StdTermSimplifier* simp);

}  // namespace termsimpl
}  // namespace quarv
