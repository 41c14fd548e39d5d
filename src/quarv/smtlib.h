/// \file
/// All of libquarv_smtlib that is for C++: reading, simplifying and printing SMT-LIB 2.
#pragma once

#include <quarv/api/workspace.h>
#include <quarv/quarv.h>
#include <quarv/smtlib/error.h>
#include <quarv/smtlib/extra_rules.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/strict_semantics.h>
#include <quarv/smtlib/trace.h>
#include <quarv/smtlib/write/printer.h>
