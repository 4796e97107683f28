// What a test scripts in the ledger build: how often each operation was called, which call fails, and the answers of
// settings, folders and switches. Counters and failures are atomic, since they are asked with every operation;
// g_lock guards the texts. It is a leaf.
#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "hostlib/wide_text.h"
#include "tests/ledger/ledger.h"
#include "tests/ledger/ledger_lock.h"

namespace qvshr {
namespace {

struct CallScript {
  std::atomic<uint64_t> calls;
  std::atomic<uint64_t> failAt;  // in the numbering of `calls`; 0: none
  std::atomic<uint64_t> fired;
  std::atomic<bool> failFrom;
  std::atomic<bool> answered;  // by a test, with `answer`
  std::atomic<int32_t> answer;
};

struct SettingScript {
  std::wstring section, key, text;
};

CallScript g_calls[kQvshrCallLimit];

SRWLOCK g_lock = SRWLOCK_INIT;
// Never destroyed: they are asked until the process is gone.
std::vector<SettingScript>& g_settings = *new std::vector<SettingScript>();
using FolderScripts = std::optional<std::wstring>[2];  // the folder in use, its default place
std::optional<std::wstring>* const g_folders = new FolderScripts;
QvshrLedgerFolderRequest g_lastFolder;

// The latest one.
const SettingScript* FindSetting(const wchar_t* section, const wchar_t* key) noexcept {
  for (const SettingScript& script : g_settings) {
    if (SameName(script.section, section) && SameName(script.key, key)) return &script;
  }
  return nullptr;
}

}  // namespace

bool CallFails(QvshrCall call) noexcept {
  CallScript& script = g_calls[call];
  const uint64_t number = ++script.calls;
  const uint64_t failAt = script.failAt;
  if (failAt == 0 || number < failAt || (number > failAt && !script.failFrom)) return false;
  ++script.fired;
  return true;
}

bool ScriptedInt(QvshrCall call, int32_t* value) noexcept {
  *value = g_calls[call].answer;
  return g_calls[call].answered;
}

bool ScriptedSetting(const wchar_t* section, const wchar_t* key, wchar_t* out, int32_t capacity,
                     int32_t* written) noexcept {
  const LedgerLock lock(g_lock);
  const SettingScript* const script = FindSetting(section, key);
  if (script == nullptr) return false;
  *written = CopyCut(script->text, out, capacity);
  return true;
}

bool ScriptedFolder(int32_t folderId, wchar_t* out, int32_t capacity, int32_t create, int32_t useDefault,
                    int32_t* answer) noexcept {
  const LedgerLock lock(g_lock);
  g_lastFolder = {folderId, create, useDefault, capacity};
  const std::optional<std::wstring>& script = g_folders[useDefault != 0 ? 1 : 0];
  if (!script) return false;
  *answer = CopyWhole(*script, out, capacity) != 0 ? 1 : 0;
  return true;
}

void ResetScripts() noexcept {
  for (CallScript& script : g_calls) {
    script.failAt = 0;
    script.failFrom = false;
    script.fired = 0;
    script.calls = 0;
    script.answered = false;
  }
  const LedgerLock lock(g_lock);
  g_settings.clear();
  for (const int useDefault : {0, 1}) g_folders[useDefault].reset();
  g_lastFolder = {};
}

}  // namespace qvshr

using namespace qvshr;

extern "C" uint64_t QvshrLedgerCalls(uint32_t call) noexcept {
  return call < kQvshrCallLimit ? g_calls[call].calls.load() : 0;
}

extern "C" void QvshrLedgerFailCall(uint32_t call, uint64_t n, int32_t mode) noexcept {
  if (call >= kQvshrCallLimit) return;
  CallScript& script = g_calls[call];
  script.failAt = 0;
  script.failFrom = mode == kQvshrFailFromHere;
  script.fired = 0;
  if (n != 0) script.failAt = script.calls + n;
}

extern "C" uint64_t QvshrLedgerCallFired(uint32_t call) noexcept {
  return call < kQvshrCallLimit ? g_calls[call].fired.load() : 0;
}

extern "C" void QvshrLedgerFailAt(uint64_t n, int32_t mode) noexcept { QvshrLedgerFailCall(kEveryAllocation, n, mode); }

extern "C" uint64_t QvshrLedgerFired() noexcept { return QvshrLedgerCallFired(kEveryAllocation); }

extern "C" void QvshrLedgerOverrideInt(uint32_t call, int32_t value) noexcept {
  if (call >= kQvshrCallLimit) return;
  g_calls[call].answer = value;
  g_calls[call].answered = true;
}

extern "C" void QvshrLedgerClearInt(uint32_t call) noexcept {
  if (call < kQvshrCallLimit) g_calls[call].answered = false;
}

extern "C" void QvshrLedgerOverrideSetting(const wchar_t* section, const wchar_t* key, const wchar_t* text) noexcept {
  const LedgerLock lock(g_lock);
  g_settings.insert(g_settings.begin(), {section, key, text});
}

extern "C" void QvshrLedgerOverrideFolder(int32_t useDefault, const wchar_t* text) noexcept {
  const LedgerLock lock(g_lock);
  std::optional<std::wstring>& script = g_folders[useDefault != 0 ? 1 : 0];
  script.reset();
  if (text != nullptr) script = text;
}

extern "C" void QvshrLedgerLastFolderRequest(QvshrLedgerFolderRequest* request) noexcept {
  if (request == nullptr) return;
  const LedgerLock lock(g_lock);
  *request = g_lastFolder;
}
