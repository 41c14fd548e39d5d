#pragma once

#include <functional>
#include <span>

#include <quarv/forms/choice.h>
#include <quarv/forms/free_names.h>

namespace quarv::forms {

/// What needs which classes where each is written in the forms that `forms_of` lists; see Needs.
Needs needs_of(const Question& question, const std::function<void(ClassId, std::vector<FormId>&)>& forms_of);

/// All forms may be chosen.
Needs all_needs(const Question& question);

/// Each class is written as the user wrote it first, or in its base form.
Needs likely_needs(const Question& question);

/// Whether each form chosen stands where the symbol that it begins with is declared or defined.
bool stays_in_scope(const Question& question, std::span<const FormId> chosen);

}  // namespace quarv::forms
