// What the service is told when it asks for the path of a module, for the life of the object; other modules' paths are
// told as they are. One object at a time.
#pragma once

#include <windows.h>

#include <string>

#include "tests/support/import_hook.h"

namespace qvtest {

enum class WhoseModule { Host, Any };

class ModulePath {
 public:
  // `asker` is the module that asks; null is this program.
  explicit ModulePath(std::wstring path, WhoseModule whose = WhoseModule::Any, HMODULE asker = nullptr);

  // From now on there is no answer.
  void Fail();
  // How often it was asked for.
  [[nodiscard]] int Questions() const;

 private:
  ImportHook m_hook;
};

// The path of the host program.
class HostPath : public ModulePath {
 public:
  explicit HostPath(std::wstring path, HMODULE asker = nullptr)
      : ModulePath(std::move(path), WhoseModule::Host, asker) {}
};

}  // namespace qvtest
