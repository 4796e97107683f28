// The watched table is a copy of the object's own, with a function in every slot that records the call and passes it
// on.
#include "tests/bridge/slot_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace qvtest {
namespace {

SlotTable* g_watched = nullptr;

// Passes eight words on, whatever the slot's arguments are: on 64-bit Windows the caller cleans up, so words that were
// not given are read from its frame and ignored. Floating-point arguments would get lost; no operation of the bridge
// hands any to another.
template <size_t Slot>
uint64_t Watch(void* object, uint64_t a, uint64_t b, uint64_t c, uint64_t d, uint64_t e, uint64_t f, uint64_t g) {
  using Words = uint64_t (*)(void*, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);
  g_watched->RecordCall(Slot);
  return reinterpret_cast<Words>(g_watched->Target(Slot))(object, a, b, c, d, e, f, g);
}

template <size_t... Slot>
void FillWithWatches(void** table, std::index_sequence<Slot...>) {
  ((table[Slot] = reinterpret_cast<void*>(&Watch<Slot>)), ...);
}

}  // namespace

std::string SlotLine(size_t slot) {
  return std::string("slot ").append(std::to_string(slot)).append(" ").append(kSlotNames[slot]);
}

SlotTable::SlotTable(IQV_JavaVM* object, FakeVm& record)
    : m_object(reinterpret_cast<void***>(object)), m_original(*m_object), m_record(record) {
  if (g_watched != nullptr) ADD_FAILURE() << "one watched object at a time";
  std::copy_n(m_original, QV_SLOT_COUNT, m_targets.begin());
  std::copy_n(m_original - kBefore, kBefore, m_watched.begin());
  FillWithWatches(m_watched.data() + kBefore, std::make_index_sequence<QV_SLOT_COUNT>());
  g_watched = this;
  *m_object = m_watched.data() + kBefore;
}

SlotTable::~SlotTable() {
  *m_object = m_original;
  g_watched = nullptr;
}

void SlotTable::RecordCall(size_t slot) const { m_record.Record(SlotLine(slot)); }

}  // namespace qvtest
