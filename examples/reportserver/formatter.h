// FOP for one thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "org/apache/avalon/framework/logger/Logger.hpp"
#include "qvjvm/qvjvm.hpp"

namespace reportserver {

/// Belongs to the thread that made it, as its objects do. FOP 0.20.5 keeps its settings and pictures in static fields
/// that no lock guards, so each of these has FOP's classes for itself, by a class loader of its own.
class Formatter {
 public:
  /// What FOP tells on the way, on the same thread: "[3]" for a page, or a problem. May throw to end the document.
  using Listener = std::function<void(const std::wstring& text, bool problem)>;

  Formatter(const qvjvm::jvm& java, const std::wstring& classPath, const Listener& listener);

  /// The document as a PDF.
  /// @throws qvjvm::java_error, or what the listener threw.
  [[nodiscard]] std::vector<std::byte> Convert(const std::filesystem::path& document) const;

 private:
  qvjvm::jvm java_;
  org::apache::avalon::framework::logger::Logger logger_;
};

}  // namespace reportserver
