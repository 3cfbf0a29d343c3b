// fmt's own functions. Debian has no library of fmt for Windows, and its headers alone would cost every
// source that formats a text several seconds: they are compiled here, and other sources include only
// fmt/core.h.
#include <fmt/format-inl.h>

// What writes numbers, of the templates that fmt's headers only promise.
template fmt::detail::thousands_sep_result<char> fmt::detail::thousands_sep_impl<char>(
    fmt::detail::locale_ref);
template char fmt::detail::decimal_point_impl<char>(fmt::detail::locale_ref);
