#include "kvx/framework/RulePointerArray.h"

#include <algorithm>

RulePointerArray::~RulePointerArray() { delete[] m_pData; }

int RulePointerArray::Add(CKvxRule* rule) {
  if (m_nSize == m_nMaxSize) {
    const int newCapacity = m_nMaxSize + m_nGrowBy;
    m_nGrowBy = m_nGrowBy < 10 ? m_nGrowBy + 3 : static_cast<int>(m_nGrowBy * 1.2);
    auto* block = new CKvxRule*[static_cast<size_t>(newCapacity)]();
    std::copy(m_pData, m_pData + m_nSize, block);
    delete[] m_pData;
    m_pData = block;
    m_nMaxSize = newCapacity;
  }
  m_pData[m_nSize] = rule;
  return m_nSize++;
}

CKvxRule* RulePointerArray::GetAt(int index) const {
  if (index < 0 || index >= m_nSize) return nullptr;
  return m_pData[index];
}

void RulePointerArray::RemoveAll() { m_nSize = 0; }
