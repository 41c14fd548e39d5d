#pragma once

#include <chrono>
#include <span>

#include "rules/order/reduction_order.h"

namespace quarv::cli {

/// The order of rules that are applied together with the standard ones, and with the extended ones unless
/// they are these: all must go down in one order. Throws SolverError.
ReductionOrder order_of_added(std::span<const rules::Rule> added, bool beside_extended, SolverProcess& solver,
                              std::chrono::milliseconds limit);

}  // namespace quarv::cli
