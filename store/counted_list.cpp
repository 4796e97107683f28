// Number texts and the walk over a key whose Count is too large for a plain loop.
#include "store/counted_list.h"

#include <cwchar>
#include <limits>

namespace qv {

IndexName::IndexName(int32_t index) noexcept { _itow(index, m_text, 10); }

int32_t IndexFromName(std::wstring_view name) noexcept {
  if (name.empty() || name.size() > 10 || (name.size() > 1 && name[0] == L'0')) return -1;
  int64_t index = 0;
  for (const wchar_t digit : name) {
    if (digit < L'0' || digit > L'9') return -1;
    index = index * 10 + (digit - L'0');
  }
  return index <= std::numeric_limits<int32_t>::max() ? static_cast<int32_t>(index) : -1;
}

int32_t QueryValue(IQvRegKey& key, const wchar_t* name, StringRef& value) noexcept {
  const StringRef nameObject = MakeString(name);
  if (!nameObject) return QV_E_OUTOFMEMORY;
  return key.QueryStringValue(nameObject.Get(), value.Out());
}

int32_t CountFromText(const wchar_t* text) noexcept { return std::max(_wtoi(text), 0); }

bool CollectIndices(IQvRegKey& key, int32_t count, HostArray<int32_t>& indices, size_t& found) noexcept {
  size_t capacity = 0;
  found = 0;
  for (int32_t i = 0; i < std::numeric_limits<int32_t>::max(); ++i) {
    StringRef name;
    StringRef value;
    const int32_t status = key.EnumValue(i, name.Out(), value.Out());
    if (status == QV_E_OUTOFMEMORY) return false;
    if (status < 0) break;
    const int32_t index = IndexFromName(TextOf(name));
    if (index < 0 || index >= count) continue;
    if (found == capacity) {
      const size_t grownCapacity = std::max<size_t>(capacity * 2, 64);
      HostArray<int32_t> grown = AllocHostArray<int32_t>(grownCapacity);
      if (!grown) return false;
      std::copy_n(indices.get(), found, grown.get());
      indices = std::move(grown);
      capacity = grownCapacity;
    }
    indices[found++] = index;
  }
  std::sort(indices.get(), indices.get() + found);
  found = static_cast<size_t>(std::unique(indices.get(), indices.get() + found) - indices.get());
  return true;
}

}  // namespace qv
