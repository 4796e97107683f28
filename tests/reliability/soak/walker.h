// A random walk over the operations of the service on one host thread, with a model of what each must give: status,
// value, error record, pending exception. Every operation is checked at once; one that gives anything else is
// reported with all that replays it.
// The walker keeps to what the interface and JNI define: references are of the right kind and alive, and with an
// exception pending only what JNI allows then is called.
#pragma once

#include <jni.h>

#include <array>
#include <atomic>
#include <mutex>

#include "base/compiler.h"
#include "qvjvm/qvjvm.h"
#include "tests/support/random.h"

namespace qvtest {

// What all walkers share. The references are global ones.
struct World {
  IQV_JavaVM* shared = nullptr;  // one object that every thread uses at times
  QV_CreateJavaVMFn create = nullptr;
  qv_jclass echo = nullptr;
  qv_jclass faults = nullptr;
  qv_jclass soak = nullptr;
  qv_jclass tracked = nullptr;
  qv_jclass string = nullptr;
  qv_jclass integer = nullptr;
  qv_jclass number = nullptr;
  qv_jobject echoObject = nullptr;
  qv_jobject faultsObject = nullptr;
  qv_jobject integerObject = nullptr;
  std::wstring classPath;
  std::wstring javaVersion;
  std::wstring logs[2];

  std::atomic<uint64_t> progress = 0;  // operations done
  std::atomic<uint64_t> failed = 0;
  std::array<std::atomic<uint64_t>, QV_SLOT_COUNT> used{};  // by slot
  std::mutex lock;
  std::vector<std::string> failures;  // the first ones
  std::vector<class Walker*> walkers;
};

// A text, or how it begins where the runtimes differ.
struct Expected {
  std::wstring text;
  bool whole = true;
  int32_t code = 0;
};

// A reference that the walker holds, and what is behind it.
struct Held {
  enum class Kind { String, Bytes, Strings, Tracked };
  qv_jobject reference = nullptr;
  Kind kind = Kind::String;
  bool global = false;
  std::wstring text{};
  std::vector<int8_t> bytes{};
  std::vector<std::optional<std::wstring>> elements{};
  int32_t id = 0;
};

class Walker {
 public:
  // `origin` names the seed, the thread and which of its lives this is.
  Walker(World& world, uint64_t seed, std::string origin);
  ~Walker();
  Walker(const Walker&) = delete;
  Walker& operator=(const Walker&) = delete;

  // So many operations, with a service object of its own, made here and released at the end.
  void Walk(uint32_t operations);
  // The operation it is in.
  [[nodiscard]] std::string Where() const;

  using Kind = Held::Kind;

  // -- the frame of an operation --
  // Which operation with which arguments; for the report.
  QV_PRINTF(3, 4) void Begin(int slot, const char* format, ...);
  bool Is(bool right, const char* what);
  void StatusIs(int32_t status, int32_t wanted);
  void Drop(std::vector<Held>& held, size_t index);

  // -- the model of the own object --
  [[nodiscard]] bool OnOwn() const { return vm == own; }
  // An exception that no prologue would clear: Java must not be called.
  [[nodiscard]] bool Blocked() const { return OnOwn() && pending && !record; }
  // What every typed call and array operation does first.
  void Prologue();
  void Succeeds(int32_t status) { StatusIs(status, QV_S_OK); }
  void Fails(int32_t status, Expected expected);
  void Rejects(int32_t status);
  void FailsSilently(int32_t status) { StatusIs(status, QV_E_FAIL); }
  void LeavesPending(const std::wstring& text, bool whole);
  void NothingPending() { pending.reset(); }

  // -- things to work with --
  std::wstring RandomText();
  [[nodiscard]] Held* Pick(Kind kind);
  Held& Some(Kind kind);
  Held& Keep(Held held);
  Held MakeString(const std::wstring& text);
  void Forget(qv_jobject local) { env->DeleteLocalRef(static_cast<jobject>(local)); }
  bool Same(qv_jobject left, qv_jobject right);
  bool TextIs(qv_jstring string, const std::wstring& text);

  World& world;
  Random random;
  IQV_JavaVM* own = nullptr;
  IQV_JavaVM* vm = nullptr;  // of this operation: the own object or the shared one
  JNIEnv* env = nullptr;
  std::vector<Held> locals;
  std::vector<Held> globals;
  std::optional<Expected> record;
  std::optional<Expected> pending;
  uint32_t references = 1;

 private:
  void Step();
  void Verify();
  void NewFrame();

  std::string m_origin;
  bool m_recordIsNew = false;
  uint32_t m_step = 0;
  int m_slot = -1;
  char m_arguments[200] = "";
};

struct OperationRow {
  int weight;
  bool withException;  // also while one is pending that the operation does not clear by itself
  void (*run)(Walker& walker);
};
std::vector<OperationRow> CallRows();
std::vector<OperationRow> ReferenceRows();
std::vector<OperationRow> ServiceRows();

}  // namespace qvtest
