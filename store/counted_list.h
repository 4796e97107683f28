// Lists of the form "Count", "0", "1", ...: which entries a key really has, in index order, whatever its Count claims.
#pragma once

#include <algorithm>
#include <cstdint>

#include "host/host_memory.h"
#include "host/host_ref.h"

namespace qv {

// The decimal text of an index, without padding, as entry names are written.
class IndexName {
 public:
  explicit IndexName(int32_t index) noexcept;
  [[nodiscard]] const wchar_t* Text() const noexcept { return m_text; }

 private:
  wchar_t m_text[12];
};

// The index that a name stands for, or -1: only the exact decimal text counts ("7", never "07" or "+7").
int32_t IndexFromName(std::wstring_view name) noexcept;

// QueryStringValue by name; E_OUTOFMEMORY also when the name object cannot be made. For readers of lists that status is
// a failure of theirs, never a missing value: a list that lacks an entry for want of memory would look whole.
int32_t QueryValue(IQvRegKey& key, const wchar_t* name, StringRef& value) noexcept;

// The decimal value of a Count text; a negative count is 0.
int32_t CountFromText(const wchar_t* text) noexcept;

// The indices below `count` that the key has among its values, ascending. False without memory.
bool CollectIndices(IQvRegKey& key, int32_t count, HostArray<int32_t>& indices, size_t& found) noexcept;

// Above this Count the key's own values are walked instead of every index: a Count of 2^31 must not take hours.
inline constexpr int32_t kPlainLoopLimit = 4096;

// Calls visit(index, text) for each entry 0 .. count-1 that the key has, in index order. False without memory.
template <class Visit>
bool VisitCountedList(IQvRegKey& key, int32_t count, Visit&& visit) noexcept {
  const auto visitOne = [&](int32_t index) {
    StringRef value;
    const int32_t status = QueryValue(key, IndexName(index).Text(), value);
    if (status == 0) visit(index, TextOf(value));
    return status != QV_E_OUTOFMEMORY;
  };
  if (count <= kPlainLoopLimit) {
    for (int32_t i = 0; i < count; ++i) {
      if (!visitOne(i)) return false;
    }
    return true;
  }
  HostArray<int32_t> indices;
  size_t found = 0;
  if (!CollectIndices(key, count, indices, found)) return false;
  return std::all_of(indices.get(), indices.get() + found, visitOne);
}

}  // namespace qv
