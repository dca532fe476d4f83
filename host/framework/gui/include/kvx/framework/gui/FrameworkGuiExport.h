#pragma once
// Symbol visibility for the framework's Qt library KorvexFrameWorkGui.
#if defined(_WIN32)
#  ifdef KVX_FRAMEWORK_GUI_BUILD
#    define KVX_FRAMEWORK_GUI_API __declspec(dllexport)
#  else
#    define KVX_FRAMEWORK_GUI_API __declspec(dllimport)
#  endif
#else
#  define KVX_FRAMEWORK_GUI_API __attribute__((visibility("default")))
#endif
