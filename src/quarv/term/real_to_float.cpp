#include <string>
#include <string_view>

#include <quarv/term/real_to_float.h>
#include <quarv/term/term_manager.h>

namespace quarv {

const Symbol* make_real_to_float_symbol(TermManager& manager, std::size_t exponent_width,
                                        std::size_t significand_width) {
  // SMT-LIB's significand counts the hidden bit.
  const std::string name =
      "(_ to_fp " + std::to_string(exponent_width) + ' ' + std::to_string(significand_width + 1) + ')';
  return manager.make_opaque_symbol(name, {manager.rounding_mode_type, manager.rat_type},
                                    manager.get_fp_type(exponent_width, significand_width));
}

bool is_real_to_float(const TermManager& manager, const Symbol* symbol, std::size_t* exponent_width,
                      std::size_t* significand_width) {
  return manager.get_tag(symbol) == SymbolTag::OPAQUE &&
         std::string_view(symbol->name).starts_with("(_ to_fp ") &&
         manager.get_format_from_type(symbol->get_output_type(), exponent_width, significand_width);
}

}  // namespace quarv
