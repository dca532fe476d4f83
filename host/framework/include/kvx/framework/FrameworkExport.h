#pragma once
// Symbol visibility for the host framework library.
#if defined(_WIN32)
#  ifdef KVX_FRAMEWORK_BUILD
#    define KVX_FRAMEWORK_API __declspec(dllexport)
#  else
#    define KVX_FRAMEWORK_API __declspec(dllimport)
#  endif
#else
#  define KVX_FRAMEWORK_API __attribute__((visibility("default")))
#endif
