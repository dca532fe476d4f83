#pragma once
// Symbol visibility for the platform library: the project builds with hidden visibility by default.
#if defined(_WIN32)
#  ifdef KVX_PLATFORM_BUILD
#    define KVX_PLATFORM_API __declspec(dllexport)
#  else
#    define KVX_PLATFORM_API __declspec(dllimport)
#  endif
#else
#  define KVX_PLATFORM_API __attribute__((visibility("default")))
#endif
