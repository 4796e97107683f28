// A doubly linked list of owned pointers in host blocks, appended at the tail. It frees its nodes, never the items.
// No lock of its own: the owner guards it.
#pragma once

#include <utility>

#include "host/host_memory.h"

namespace qv {

template <class T>
class HostList {
 public:
  QV_HOST_ALLOCATED
  struct Node {
    Node* next;
    Node* previous;
    T* item;
  };

  HostList() noexcept = default;
  HostList(const HostList&) = delete;
  HostList& operator=(const HostList&) = delete;

  [[nodiscard]] Node* Head() const noexcept { return m_head; }

  // A node for a later Append; empty without memory.
  [[nodiscard]] static HostPtr<Node> Reserve() noexcept {
    return HostPtr<Node>(static_cast<Node*>(QvshrAlloc(sizeof(Node))));
  }
  void Append(HostPtr<Node> reserved, T* item) noexcept {
    *reserved = {nullptr, m_tail, item};
    (m_tail != nullptr ? m_tail->next : m_head) = reserved.get();
    m_tail = reserved.release();
  }
  // False without memory; the list is unchanged then and the item stays the caller's.
  [[nodiscard]] bool Append(T* item) noexcept {
    HostPtr<Node> node = Reserve();
    if (!node) return false;
    Append(std::move(node), item);
    return true;
  }

  // Unlinks and frees the node and gives its item back.
  [[nodiscard]] T* Remove(Node* node) noexcept {
    (node->previous != nullptr ? node->previous->next : m_head) = node->next;
    (node->next != nullptr ? node->next->previous : m_tail) = node->previous;
    T* const item = node->item;
    QvshrFree(node);
    return item;
  }

  // The first node whose item matches, or null.
  template <class Matches>
  [[nodiscard]] Node* FindFirst(Matches&& matches) const noexcept {
    Node* node = m_head;
    while (node != nullptr && !matches(*node->item)) node = node->next;
    return node;
  }

 private:
  Node* m_head = nullptr;
  Node* m_tail = nullptr;
};

}  // namespace qv
