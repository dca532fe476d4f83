#pragma once
// The word the framework writes and shows for each operator code.
#include <string_view>

#include "kvx/framework/KvxTypes.h"

struct KvxOperatorWord {
  KvxOperator_e op;
  std::wstring_view word;
};

inline constexpr KvxOperatorWord kKvxOperatorWords[] = {
    {KVX_OP_RANGE, L"RANGE"}, {KVX_OP_EQUAL, L"="},         {KVX_OP_LESS, L"<"},
    {KVX_OP_GREATER, L">"},   {KVX_OP_GREATER_EQUAL, L">="}, {KVX_OP_LESS_EQUAL, L"<="},
};

// The word of operator code `op`; empty for a code without one.
constexpr std::wstring_view KvxOperatorWordOf(int op) {
  for (const KvxOperatorWord& entry : kKvxOperatorWords) {
    if (entry.op == op) return entry.word;
  }
  return {};
}
