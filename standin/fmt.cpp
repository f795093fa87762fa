/// The compiled part of the formatting library, here because the installed one has one width alone. Every file that
/// formats would otherwise compile it again.

#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API locale_ref::locale_ref(const std::locale &);
template FMT_API std::locale locale_ref::get<std::locale>() const;
template FMT_API thousands_sep_result<char> thousands_sep_impl(locale_ref);
template FMT_API char decimal_point_impl(locale_ref);
template FMT_API dragonbox::decimal_fp<double> dragonbox::to_decimal(double) noexcept;

} // namespace detail
FMT_END_NAMESPACE
