#pragma once
// Texts of the module's resource libraries, and checked printf-style formatting of resource formats.
#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <exception>
#include <initializer_list>
#include <string>

#include "kvx/params/ModuleContext.h"

namespace kvx::params {

// String `id` from the localized library (made current for the load); empty when missing.
std::wstring LoadLocalizedString(int id);
// String `id` from the default (English) library (made current for the load); empty when missing.
std::wstring LoadDefaultString(int id);

// The text shown when a format does not fit its arguments: the format, then the arguments.
std::wstring FormatFallback(const std::wstring& format, std::initializer_list<std::wstring> args);

// `format` filled printf-style with wide-string arguments. A format whose placeholders do not fit the
// arguments (a bad translation) gives FormatFallback's readable text instead of undefined behaviour.
template <typename... Args>
std::wstring FormatText(const std::wstring& format, const Args&... args) {
  try {
    return fmt::sprintf(format, args...);
  } catch (const std::exception&) {
    return FormatFallback(format, {std::wstring(args)...});
  }
}

}  // namespace kvx::params
