#include <fmt/format.h>

// The compiled part of the formatting library, where CMake has not chosen its header-only variant: that
// compiles this part anew in each file that formats something, two seconds a file, and the shared library
// would be one more to load at every start of the program.
#ifndef FMT_HEADER_ONLY
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template dragonbox::decimal_fp<float> dragonbox::to_decimal(float) noexcept;
template dragonbox::decimal_fp<double> dragonbox::to_decimal(double) noexcept;
template locale_ref::locale_ref(std::locale const&);
template std::locale locale_ref::get<std::locale>() const;
template thousands_sep_result<char> thousands_sep_impl(locale_ref);
template char decimal_point_impl(locale_ref);
template void buffer<char>::append(char const*, char const*);
template void vformat_to(buffer<char>&, string_view, basic_format_args<FMT_BUFFER_CONTEXT(char)>, locale_ref);

}  // namespace detail
FMT_END_NAMESPACE
#endif
