/// \file
/// All of libquarv_smtlib that is for C++: reading, simplifying and printing SMT-LIB 2.
#pragma once

#include <quarv/quarv.h>
#include <quarv/smtlib/composed.h>
#include <quarv/smtlib/read/assertions.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/text.h>
#include <quarv/smtlib/trace.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/script_text.h>
