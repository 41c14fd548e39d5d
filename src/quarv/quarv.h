/// \file
/// All of libquarv: numbers, terms, simplifiers and rewrite rules. What this header does not reach is not
/// installed.
#pragma once

#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/q_number.h>
#include <quarv/numbers/swflt/exception_flags.h>
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/rule_language.h>
#include <quarv/rules/rule_query.h>
#include <quarv/rules/rule_reading.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/simpl/is_value.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/data_type.h>
#include <quarv/term/sort_error.h>
#include <quarv/term/symbol.h>
#include <quarv/term/symbol_tag.h>
#include <quarv/term/term.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>
#include <quarv/util/memory_pool.h>
#include <quarv/util/sort.h>
