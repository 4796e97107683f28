// The table of one service object, watched: every call that goes through a slot is recorded before it is passed on, and
// a slot can be replaced. For the rule that the operations reach each other through the object's own table.
// One watched object at a time, in the life of the SlotTable.
#pragma once

#include <array>

#include "qvjvm/qvjvm.h"
#include "tests/bridge/fake_jni.h"
#include "tests/support/product.h"

namespace qvtest {

class SlotTable {
 public:
  // Lines like "slot 12 FindClass" go to the VM's record.
  SlotTable(IQV_JavaVM* object, FakeVm& record);
  ~SlotTable();
  SlotTable(const SlotTable&) = delete;
  SlotTable& operator=(const SlotTable&) = delete;

  // From now on this answer stands in the slot, which may hold what it needs; its first argument is the object.
  template <size_t Slot, class Answer>
  void Replace(Answer answer) {
    m_targets[Slot] = Answering<Slot>(std::function(std::move(answer)));
  }
  // The n-th call of the slot from now on, counted from 1, goes to this function and no further.
  void FailAt(size_t slot, int n, void* function) {
    m_faultSlot = slot;
    m_faultAt = n;
    m_fault = function;
  }
  [[nodiscard]] bool FaultFired() const { return m_fault != nullptr && m_faultAt <= 0; }

  // For the functions in the watched table:
  [[nodiscard]] void* Target(size_t slot) {
    if (m_fault != nullptr && slot == m_faultSlot && --m_faultAt == 0) return m_fault;
    return m_targets[slot];
  }
  void RecordCall(size_t slot) const;

 private:
  template <size_t Slot, class Result, class... Arguments>
  static void* Answering(std::function<Result(Arguments...)> answer) {
    static std::function<Result(Arguments...)> s_answer;
    s_answer = std::move(answer);
    return reinterpret_cast<void*>(+[](Arguments... arguments) { return s_answer(arguments...); });
  }

  static constexpr size_t kBefore = 2;  // what a table has in front of its first slot: type information

  void*** m_object;
  void** m_original;
  FakeVm& m_record;
  std::array<void*, QV_SLOT_COUNT> m_targets{};
  size_t m_faultSlot = 0;
  int m_faultAt = 0;
  void* m_fault = nullptr;
  std::array<void*, kBefore + QV_SLOT_COUNT> m_watched{};
};

// As a call through the slot stands in the record.
std::string SlotLine(size_t slot);

}  // namespace qvtest
