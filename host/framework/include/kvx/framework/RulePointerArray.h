#pragma once
// The host's growable array of rule pointers. It does not own the rules: they are released through
// the module that made them.
#include "kvx/framework/FrameworkExport.h"

class CKvxRule;

class KVX_FRAMEWORK_API RulePointerArray {
 public:
  RulePointerArray() = default;
  ~RulePointerArray();
  RulePointerArray(const RulePointerArray&) = delete;
  RulePointerArray& operator=(const RulePointerArray&) = delete;

  // Appends `rule` and returns its index. When full, the capacity grows by the growth step, then the
  // step grows (plus 3 while below 10, else times 1.2 truncated); the old block is copied into a new
  // zero-filled one.
  int Add(CKvxRule* rule);
  int GetSize() const { return m_nSize; }
  int GetCapacity() const { return m_nMaxSize; }
  int GetGrowBy() const { return m_nGrowBy; }
  // Pointer `index`, or null when out of range.
  CKvxRule* GetAt(int index) const;
  // Forgets every pointer (the rules are not touched).
  void RemoveAll();

 private:
  CKvxRule** m_pData = nullptr;
  int m_nSize = 0;
  int m_nMaxSize = 0;
  int m_nGrowBy = 4;
};
