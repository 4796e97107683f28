// The frame of the walk. Local references live in frames of their own, as the work of a host's thread should.
#include "tests/reliability/soak/walker.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <numeric>

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

const OperationRow& Choose(Random& random, bool pending) {
  static const std::vector<OperationRow> rows = [] {
    std::vector<OperationRow> all = CallRows();
    for (const auto& more : {ReferenceRows(), ServiceRows()}) all.insert(all.end(), more.begin(), more.end());
    return all;
  }();
  static const int sum = std::accumulate(rows.begin(), rows.end(), 0,
                                         [](int weight, const OperationRow& row) { return weight + row.weight; });
  while (true) {
    auto at = static_cast<int>(random.Below(static_cast<size_t>(sum)));
    for (const OperationRow& row : rows) {
      at -= row.weight;
      if (at >= 0) continue;
      if (pending && !row.withException) break;
      return row;
    }
  }
}

}  // namespace

Walker::Walker(World& of, uint64_t seed, std::string origin) : world(of), random(seed), m_origin(std::move(origin)) {
  const std::lock_guard guard(world.lock);
  world.walkers.push_back(this);
}

Walker::~Walker() {
  const std::lock_guard guard(world.lock);
  std::erase(world.walkers, this);
}

void Walker::Walk(uint32_t operations) {
  const bool withClassPath = random.OneIn(4);
  Begin(-1, "QV_CreateJavaVM(%s)", withClassPath ? "a class path" : "null");
  StatusIs(world.create(&own, withClassPath ? L"C:\\too late.jar" : nullptr),
           withClassPath ? QV_S_CLASSPATH_IGNORED : QV_S_OK);
  if (own == nullptr) return;
  env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(own));
  if (!Is(env != nullptr, "an environment")) return;
  env->PushLocalFrame(64);
  for (m_step = 1; m_step <= operations; ++m_step) {
    if (m_step % kOperationsOfAFrame == 0) NewFrame();
    Step();
    ++world.progress;
  }
  while (!globals.empty()) Drop(globals, 0);
  Begin(2, "at the end");
  vm = own;
  while (--references > 0) Is(own->Release() == references, "the references that are left");
  Is(own->Release() == 0, "the last reference");
  env->PopLocalFrame(nullptr);
}

void Walker::Step() {
  // An exception that this thread left pending is its own object's business.
  vm = !pending && random.OneIn(8) ? world.shared : own;
  Choose(random, pending.has_value()).run(*this);
  Verify();
}

void Walker::NewFrame() {
  own->ExceptionClear(env);
  NothingPending();
  env->PopLocalFrame(nullptr);
  locals.clear();
  env->PushLocalFrame(64);
}

// Whatever was called: the record of the own object and the pending exception are as the model says.
void Walker::Verify() {
  int32_t code = 7;
  const int32_t status = own->GetErrorCode(&code);
  Is(status == (record ? QV_S_OK : QV_E_FAIL), record ? "the record is gone" : "a record is there");
  Is(code == (record ? record->code : 0), "the record's code");
  if (record && std::exchange(m_recordIsNew, false)) {
    IQvString* text = nullptr;
    Is(own->GetErrorText(&text) == QV_S_OK, "the record's text can be read");
    const std::wstring seen = TakeText(text);
    const bool right = record->whole ? seen == record->text : seen.starts_with(record->text);
    if (!right)
      Is(false, ("the record's text is \"" + Escaped(seen) + "\", not \"" + Escaped(record->text) + '"').c_str());
  }
  Is((env->ExceptionCheck() != JNI_FALSE) == pending.has_value(),
     pending ? "the exception is no longer pending" : "an exception is pending");
}

void Walker::Begin(int slot, const char* format, ...) {
  m_slot = slot;
  if (slot >= 0) ++world.used[static_cast<size_t>(slot)];
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
  const std::lock_guard guard(world.lock);
  ++world.failed;
  if (world.failures.size() < kMostReports) world.failures.push_back(Where() + ": " + what);
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
  if (!OnOwn() || !record) return;
  record.reset();
  pending.reset();
}

void Walker::Fails(int32_t status, Expected expected) {
  StatusIs(status, QV_E_FAIL);
  if (!OnOwn()) return;
  record = std::move(expected);
  m_recordIsNew = true;
}

void Walker::Rejects(int32_t status) { Fails(status, {L"QVJava Internal Exception", true, QV_CODE_CALL_FAILED}); }

// On the shared object nobody leaves an exception: it is cleared at once.
void Walker::LeavesPending(const std::wstring& text, bool whole) {
  if (OnOwn()) {
    pending = Expected{text, whole};
  } else {
    Is(env->ExceptionCheck() != JNI_FALSE, "an exception was to be pending");
    vm->ExceptionClear(env);
  }
}

// -- things to work with --

std::wstring Walker::RandomText() {
  static constexpr struct {
    wchar_t first;
    uint32_t count;
  } kRanges[] = {{L' ', 95}, {1, 31}, {0x80, 0x180}, {0x4E00, 0x2000}, {0xD800, 0x800}, {0xE000, 0x2000}};
  uint32_t length = random.Below(24);
  if (random.OneIn(8)) length = 0;
  if (random.OneIn(40)) length = random.Below(5000);
  if (random.OneIn(20000)) length = 1U << 20U;
  std::wstring text;
  text.reserve(length);
  while (text.size() < length) {
    const auto& range = random.OneOf(kRanges);
    if (range.first == 0xD800 && random.OneIn(2)) {  // a whole pair; else one that is alone, perhaps
      text += static_cast<wchar_t>(0xD800 + random.Below(0x400));
      text += static_cast<wchar_t>(0xDC00 + random.Below(0x400));
    } else {
      text += static_cast<wchar_t>(range.first + random.Below(range.count));
    }
  }
  return text;
}

Held* Walker::Pick(Kind kind) {
  std::array<Held*, 64> fitting{};
  size_t count = 0;
  for (auto* const pool : {&locals, &globals}) {
    for (Held& held : *pool) {
      if (held.kind == kind && count < fitting.size()) fitting[count++] = &held;
    }
  }
  return count != 0 ? fitting[random.Below(count)] : nullptr;
}

// One is made when there is none; with what is known to work already.
Held& Walker::Some(Kind kind) {
  if (Held* const held = Pick(kind)) return *held;
  switch (kind) {
    case Kind::String:
      return Keep(MakeString(RandomText()));
    case Kind::Bytes: {
      Held made{.kind = kind};
      made.bytes.resize(random.Below(64));
      made.reference = env->NewByteArray(static_cast<jsize>(made.bytes.size()));
      return Keep(std::move(made));
    }
    case Kind::Strings: {
      Held made{.kind = kind};
      made.elements.resize(random.Below(8));
      made.reference = env->NewObjectArray(static_cast<jsize>(made.elements.size()),
                                           static_cast<jclass>(static_cast<jobject>(world.string)), nullptr);
      return Keep(std::move(made));
    }
    default: {
      Held made{.kind = kind};
      made.id = static_cast<int32_t>(random.Next());
      Is(own->NewObject(&made.reference, world.tracked, "(I)", made.id) == QV_S_OK, "an object to work with");
      return Keep(std::move(made));
    }
  }
}

// When there are too many the oldest goes.
Held& Walker::Keep(Held held) {
  auto& pool = held.global ? globals : locals;
  if (pool.size() >= kMostHeld) Drop(pool, 0);
  pool.push_back(std::move(held));
  return pool.back();
}

void Walker::Drop(std::vector<Held>& pool, size_t index) {
  const Held held = std::move(pool[index]);
  pool.erase(pool.begin() + static_cast<std::ptrdiff_t>(index));
  Is((held.global ? own->DeleteGlobalRef(held.reference) : own->DeleteLocalRef(held.reference)) == QV_S_OK,
     "a reference that goes");
}

Held Walker::MakeString(const std::wstring& text) {
  return {.reference = env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size())),
          .kind = Kind::String,
          .text = text};
}

bool Walker::Same(qv_jobject left, qv_jobject right) {
  return env->IsSameObject(static_cast<jobject>(left), static_cast<jobject>(right)) != JNI_FALSE;
}

bool Walker::TextIs(qv_jstring string, const std::wstring& text) {
  const auto java = static_cast<jstring>(static_cast<jobject>(string));
  if (java == nullptr || env->GetStringLength(java) != static_cast<jsize>(text.size())) return false;
  std::wstring seen(text.size(), L'\0');
  env->GetStringRegion(java, 0, static_cast<jsize>(text.size()), reinterpret_cast<jchar*>(seen.data()));
  return seen == text;
}

}  // namespace qvtest
