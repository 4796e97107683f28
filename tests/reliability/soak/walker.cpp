// The frame of the walk. Local references live in frames of their own, as the work of a host's thread should.
#include "tests/reliability/soak/walker.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr uint32_t kOperationsOfAFrame = 100;
constexpr size_t kMostHeld = 24;
constexpr size_t kMostReports = 20;

std::string Escaped(const std::wstring& text) {
  std::string out;
  for (const wchar_t unit : text.substr(0, 200)) {
    char escape[8] = {static_cast<char>(unit)};
    if (unit < 0x20 || unit > 0x7E) std::snprintf(escape, sizeof(escape), "\\u%04X", static_cast<unsigned>(unit));
    out += escape;
  }
  return out;
}

}  // namespace

struct OperationRow {
  int weight;
  bool withException;  // also while one is pending that the operation does not clear by itself
  void (Walker::*run)();

  static const OperationRow kAll[];
  static const OperationRow& Choose(Random& random, bool pending);
};

constexpr OperationRow OperationRow::kAll[] = {
    {2, true, &Walker::QueryInterface},
    {2, true, &Walker::AddRefAndRelease},
    {1, false, &Walker::Holds},
    {4, true, &Walker::GetErrorText},
    {4, true, &Walker::GetErrorCode},
    {4, true, &Walker::CastReference},
    {10, true, &Walker::DeleteLocal},
    {5, true, &Walker::DeleteGlobal},
    {4, true, &Walker::FindClass},
    {6, false, &Walker::NewGlobal},
    {12, false, &Walker::NewString},
    {6, false, &Walker::GetStringLength},
    {6, false, &Walker::GetStringChars},
    {6, false, &Walker::GetStringValue},
    {6, false, &Walker::NewObject},
    {4, false, &Walker::NewDefaultObject},
    {4, true, &Walker::CallInt},
    {4, true, &Walker::CallShort},
    {4, true, &Walker::CallFloat},
    {4, true, &Walker::CallDouble},
    {4, true, &Walker::CallByte},
    {6, true, &Walker::CallVoid},
    {6, true, &Walker::CallObject},
    {4, true, &Walker::CallBoolean},
    {4, true, &Walker::CallLong},
    {4, true, &Walker::CallStaticBoolean},
    {4, true, &Walker::CallStaticObject},
    {4, true, &Walker::CallStaticVoid},
    {4, true, &Walker::GetStaticInt},
    {4, true, &Walker::GetStaticShort},
    {3, false, &Walker::ThrowText},
    {3, true, &Walker::NewStringArray},
    {6, true, &Walker::SetObjectArrayElement},
    {4, true, &Walker::NewByteArray},
    {6, true, &Walker::GetBytes},
    {6, true, &Walker::SetBytes},
    {6, false, &Walker::Track},
    {3, true, &Walker::GetJNIEnv},
    {3, true, &Walker::AcquireThreadEnv},
    {2, true, &Walker::Locations},
    {1, true, &Walker::LogFileName},
    {2, true, &Walker::LogEnabled},
    {2, true, &Walker::IsCreated},
    {1, false, &Walker::GetClassPath},
    {1, false, &Walker::GetJavaVersion},
    {1, false, &Walker::Destroy},
    {3, true, &Walker::ExceptionClear},
    {4, true, &Walker::CaptureException},
};

const OperationRow& OperationRow::Choose(Random& random, bool pending) {
  static const int all = [] {
    int sum = 0;
    for (const OperationRow& row : kAll) sum += row.weight;
    return sum;
  }();
  while (true) {
    auto at = static_cast<int>(random.Below(static_cast<size_t>(all)));
    for (const OperationRow& row : kAll) {
      at -= row.weight;
      if (at >= 0) continue;
      if (pending && !row.withException) break;
      return row;
    }
  }
}

Walker::Walker(World& world, uint64_t seed, std::string origin)
    : m_world(world), m_random(seed), m_origin(std::move(origin)) {
  const std::lock_guard guard(m_world.lock);
  m_world.walkers.push_back(this);
}

Walker::~Walker() {
  const std::lock_guard guard(m_world.lock);
  std::erase(m_world.walkers, this);
}

void Walker::Walk(uint32_t operations) {
  const bool withClassPath = m_random.OneIn(4);
  Begin(-1, "QV_CreateJavaVM(%s)", withClassPath ? "a class path" : "null");
  StatusIs(m_world.create(&m_own, withClassPath ? L"C:\\too late.jar" : nullptr),
           withClassPath ? QV_S_CLASSPATH_IGNORED : QV_S_OK);
  if (m_own == nullptr) return;
  m_env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(m_own));
  if (!Is(m_env != nullptr, "an environment")) return;
  m_env->PushLocalFrame(64);
  for (m_step = 1; m_step <= operations; ++m_step) {
    if (m_step % kOperationsOfAFrame == 0) NewFrame();
    Step();
    ++m_world.progress;
  }
  while (!m_globals.empty()) Drop(m_globals, 0);
  Begin(2, "at the end");
  m_vm = m_own;
  while (--m_references > 0) Is(m_own->Release() == m_references, "the references that are left");
  Is(m_own->Release() == 0, "the last reference");
  m_env->PopLocalFrame(nullptr);
}

void Walker::Step() {
  // An exception that this thread left pending is its own object's business.
  m_vm = !m_pending && m_random.OneIn(8) ? m_world.shared : m_own;
  (this->*OperationRow::Choose(m_random, m_pending.has_value()).run)();
  Verify();
}

void Walker::NewFrame() {
  m_own->ExceptionClear(m_env);
  NothingPending();
  m_env->PopLocalFrame(nullptr);
  m_locals.clear();
  m_env->PushLocalFrame(64);
}

// Whatever was called: the record of the own object and the pending exception are as the model says.
void Walker::Verify() {
  int32_t code = 7;
  const int32_t status = m_own->GetErrorCode(&code);
  Is(status == (m_record ? QV_S_OK : QV_E_FAIL), m_record ? "the record is gone" : "a record is there");
  Is(code == (m_record ? m_record->code : 0), "the record's code");
  if (m_record && std::exchange(m_recordIsNew, false)) {
    IQvString* text = nullptr;
    Is(m_own->GetErrorText(&text) == QV_S_OK, "the record's text can be read");
    const std::wstring seen = TakeText(text);
    const bool right = m_record->whole ? seen == m_record->text : seen.starts_with(m_record->text);
    if (!right)
      Is(false, ("the record's text is \"" + Escaped(seen) + "\", not \"" + Escaped(m_record->text) + '"').c_str());
  }
  Is((m_env->ExceptionCheck() != JNI_FALSE) == m_pending.has_value(),
     m_pending ? "the exception is no longer pending" : "an exception is pending");
}

void Walker::Begin(int slot, const char* format, ...) {
  m_slot = slot;
  if (slot >= 0) ++m_world.used[static_cast<size_t>(slot)];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(m_arguments, sizeof(m_arguments), format, arguments);
  va_end(arguments);
}

std::string Walker::Where() const {
  return m_origin + ", step " + std::to_string(m_step) + ": slot " + std::to_string(m_slot) + " " +
         (OnOwn() ? "" : "of the shared object ") + "with " + m_arguments;
}

bool Walker::Is(bool right, const char* what) {
  if (right) return true;
  const std::lock_guard guard(m_world.lock);
  ++m_world.failed;
  if (m_world.failures.size() < kMostReports) m_world.failures.push_back(Where() + ": " + what);
  return false;
}

void Walker::StatusIs(int32_t status, int32_t wanted) {
  if (status == wanted) return;
  char text[64];
  std::snprintf(text, sizeof(text), "status 0x%08X instead of 0x%08X", static_cast<unsigned>(status),
                static_cast<unsigned>(wanted));
  Is(false, text);
}

// -- the model --

void Walker::Prologue() {
  if (!OnOwn() || !m_record) return;
  m_record.reset();
  m_pending.reset();
}

void Walker::Fails(int32_t status, Expected record) {
  StatusIs(status, QV_E_FAIL);
  if (!OnOwn()) return;
  m_record = std::move(record);
  m_recordIsNew = true;
}

void Walker::Rejects(int32_t status) { Fails(status, {L"QVJava Internal Exception", true, QV_CODE_CALL_FAILED}); }

// On the shared object nobody leaves an exception: it is cleared at once.
void Walker::LeavesPending(const std::wstring& text, bool whole) {
  if (OnOwn()) {
    m_pending = Expected{text, whole};
  } else {
    Is(m_env->ExceptionCheck() != JNI_FALSE, "an exception was to be pending");
    m_vm->ExceptionClear(m_env);
  }
}

// -- things to work with --

std::wstring Walker::RandomText() {
  static constexpr struct {
    wchar_t first;
    uint32_t count;
  } kRanges[] = {{L' ', 95}, {1, 31}, {0x80, 0x180}, {0x4E00, 0x2000}, {0xD800, 0x800}, {0xE000, 0x2000}};
  uint32_t length = m_random.Below(24);
  if (m_random.OneIn(8)) length = 0;
  if (m_random.OneIn(40)) length = m_random.Below(5000);
  if (m_random.OneIn(20000)) length = 1U << 20U;
  std::wstring text;
  text.reserve(length);
  while (text.size() < length) {
    const auto& range = m_random.OneOf(kRanges);
    if (range.first == 0xD800 && m_random.OneIn(2)) {  // a whole pair; else one that is alone, perhaps
      text += static_cast<wchar_t>(0xD800 + m_random.Below(0x400));
      text += static_cast<wchar_t>(0xDC00 + m_random.Below(0x400));
    } else {
      text += static_cast<wchar_t>(range.first + m_random.Below(range.count));
    }
  }
  return text;
}

Held* Walker::Pick(Kind kind) {
  std::array<Held*, 64> fitting{};
  size_t count = 0;
  for (auto* const pool : {&m_locals, &m_globals}) {
    for (Held& held : *pool) {
      if (held.kind == kind && count < fitting.size()) fitting[count++] = &held;
    }
  }
  return count != 0 ? fitting[m_random.Below(count)] : nullptr;
}

// One is made when there is none; with what is known to work already.
Held& Walker::Some(Kind kind) {
  if (Held* const held = Pick(kind)) return *held;
  switch (kind) {
    case Kind::String:
      return Keep(MakeString(RandomText()));
    case Kind::Bytes: {
      Held made{.kind = kind};
      made.bytes.resize(m_random.Below(64));
      made.reference = m_env->NewByteArray(static_cast<jsize>(made.bytes.size()));
      return Keep(std::move(made));
    }
    case Kind::Strings: {
      Held made{.kind = kind};
      made.elements.resize(m_random.Below(8));
      made.reference = m_env->NewObjectArray(static_cast<jsize>(made.elements.size()),
                                             static_cast<jclass>(static_cast<jobject>(m_world.string)), nullptr);
      return Keep(std::move(made));
    }
    default: {
      Held made{.kind = kind};
      made.id = static_cast<int32_t>(m_random.Next());
      Is(m_own->NewObject(&made.reference, m_world.tracked, "(I)", made.id) == QV_S_OK, "an object to work with");
      return Keep(std::move(made));
    }
  }
}

// When there are too many the oldest goes.
Held& Walker::Keep(Held held) {
  auto& pool = held.global ? m_globals : m_locals;
  if (pool.size() >= kMostHeld) Drop(pool, 0);
  pool.push_back(std::move(held));
  return pool.back();
}

void Walker::Drop(std::vector<Held>& pool, size_t index) {
  const Held held = std::move(pool[index]);
  pool.erase(pool.begin() + static_cast<std::ptrdiff_t>(index));
  Is((held.global ? m_own->DeleteGlobalRef(held.reference) : m_own->DeleteLocalRef(held.reference)) == QV_S_OK,
     "a reference that goes");
}

Held Walker::MakeString(const std::wstring& text) {
  return {.reference = m_env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size())),
          .kind = Kind::String,
          .text = text};
}

bool Walker::Same(qv_jobject left, qv_jobject right) {
  return m_env->IsSameObject(static_cast<jobject>(left), static_cast<jobject>(right)) != JNI_FALSE;
}

bool Walker::TextIs(qv_jstring string, const std::wstring& text) {
  const auto java = static_cast<jstring>(static_cast<jobject>(string));
  if (java == nullptr || m_env->GetStringLength(java) != static_cast<jsize>(text.size())) return false;
  std::wstring seen(text.size(), L'\0');
  m_env->GetStringRegion(java, 0, static_cast<jsize>(text.size()), reinterpret_cast<jchar*>(seen.data()));
  return seen == text;
}

}  // namespace qvtest
