#pragma once
// Symbol visibility of the framework's Qt dialog code (built into the dialog library).
#if defined(_WIN32)
#  ifdef KVX_FRAMEWORK_GUI_BUILD
#    define KVX_FRAMEWORK_GUI_API __declspec(dllexport)
#  else
#    define KVX_FRAMEWORK_GUI_API __declspec(dllimport)
#  endif
#else
#  define KVX_FRAMEWORK_GUI_API __attribute__((visibility("default")))
#endif
