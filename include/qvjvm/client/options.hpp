/// @file
/// An application's own options for the start of the JVM: heap, options, properties, class path, runtime, log. They
/// count for the running process alone and need no administrator; the same for C is in options.h.
#pragma once

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvjvm/client/start_functions.h"
#include "qvjvm/client/text.hpp"

namespace qvjvm {

class jvm;
class starting_jvm;

/// `512_MiB`, after `using namespace qvjvm::literals`.
inline namespace literals {
/// So many times 1,048,576 bytes.
constexpr uint64_t operator""_MiB(unsigned long long count) noexcept { return uint64_t{count} << 20; }
/// So many times 1,073,741,824 bytes.
constexpr uint64_t operator""_GiB(unsigned long long count) noexcept { return uint64_t{count} << 30; }
}  // namespace literals

/// What a start of the JVM asks for. Each function adds to what was asked before. Heap and options together replace the
/// configured options whole, properties and `compiled` the configured properties; a path that is not absolute lies in
/// the folder of the host's executable. Narrow text is UTF-8.
class options {
 public:
  /// The heap's most bytes, `512_MiB`, rounded up to KiB.
  options& heap(uint64_t bytes) {
    heap_ = bytes;
    return *this;
  }
  /// An option of the JVM, "-XX:+UseSerialGC". They come behind the heap in the order of the calls.
  options& option(std::wstring_view text) {
    options_.emplace_back(text);
    return *this;
  }
  /// The same.
  options& option(std::string_view text) { return option(detail::to_utf16(text)); }
  /// A system property of Java.
  options& property(std::wstring_view name, std::wstring_view value) {
    properties_.emplace_back(name, value);
    return *this;
  }
  /// The same.
  options& property(std::string_view name, std::string_view value) {
    return property(detail::to_utf16(name), detail::to_utf16(value));
  }
  /// Compiled Java: no property java.compiler, with which runtimes before 21 interpret all Java code.
  options& compiled() {
    compiled_ = true;
    return *this;
  }
  /// Files and folders of the class path, before the configured ones. L"lib\\*" stands for the jars of lib, sorted by
  /// name without case; that folder has to be there.
  options& class_path(std::initializer_list<std::wstring_view> entries) {
    class_path_.insert(class_path_.end(), entries.begin(), entries.end());
    return *this;
  }
  /// One of them.
  options& class_path(std::wstring_view entry) { return class_path({entry}); }
  /// The folder of a JRE or JDK, before what JAVA_HOME and the registry name.
  options& runtime(std::wstring_view folder) {
    runtime_ = folder;
    return *this;
  }
  /// Where the JVM's output goes once it runs.
  /// @param path  the file, which begins anew.
  /// @param kept  so many older ones stay: path.1 is the youngest.
  options& log_file(std::wstring_view path, int32_t kept = 0) {
    log_file_ = path;
    kept_ = kept;
    return *this;
  }
  /// Gives the thread that starts Java's own class loader as its context class loader, if it has none. Other threads:
  /// jvm::use_context_class_loader.
  options& context_class_loader() {
    context_class_loader_ = true;
    return *this;
  }
  /// The service's DLL; "qvjvm.dll" unless told. See jvm::start.
  options& library(std::wstring_view path) {
    library_ = path;
    return *this;
  }

 private:
  friend class jvm;
  friend class starting_jvm;

  int32_t start(IQV_JavaVM** vm, uint32_t* ignored, wchar_t* why, int32_t why_units) const {
    const auto pointers = [](const std::vector<std::wstring>& from) {
      std::vector<const wchar_t*> all;
      for (const std::wstring& text : from) all.push_back(text.c_str());
      return all;
    };
    const std::vector<const wchar_t*> texts = pointers(options_);
    const std::vector<const wchar_t*> class_path = pointers(class_path_);
    std::vector<qv_property> properties;
    for (const auto& [name, value] : properties_) properties.push_back({name.c_str(), value.c_str()});
    qv_options all{};
    all.heap = heap_;
    all.options = texts.data();
    all.optionCount = static_cast<int32_t>(texts.size());
    all.properties = properties.data();
    all.propertyCount = static_cast<int32_t>(properties.size());
    all.compiled = compiled_ ? 1 : 0;
    all.classPath = class_path.data();
    all.classPathCount = static_cast<int32_t>(class_path.size());
    all.runtime = runtime_.empty() ? nullptr : runtime_.c_str();
    all.logFile = log_file_.empty() ? nullptr : log_file_.c_str();
    all.logFilesKept = kept_;
    return qv_start_service(library_.empty() ? nullptr : library_.c_str(), &all, vm, ignored, why, why_units);
  }

  uint64_t heap_ = 0;
  std::vector<std::wstring> options_;
  std::vector<std::pair<std::wstring, std::wstring>> properties_;
  std::vector<std::wstring> class_path_;
  std::wstring runtime_;
  std::wstring log_file_;
  std::wstring library_;
  int32_t kept_ = 0;
  bool compiled_ = false;
  bool context_class_loader_ = false;
};

}  // namespace qvjvm
