// Slots 7 to 19 and 43 to 47: references, classes, strings, construction, arrays.
#include <algorithm>
#include <sstream>

#include "tests/reliability/soak/walker.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr wchar_t kCanary = 0xABCD;

}  // namespace

// Without its argument an operation fails, and what it gives is nothing.
template <class Out, class Call>
void Walker::WithNull(int slot, const Out* out, Call&& call) {
  Begin(slot, "null");
  FailsSilently(call());
  Is(*out == Out{}, "nothing without an argument");
}

void Walker::CastReference() {
  Begin(7, "a reference");
  qv_jobject const given = m_random.OneIn(2) ? m_world.echo : nullptr;
  qv_jobject out = this;
  Succeeds(m_vm->CastReference(&out, given));
  Is(out == given, "the reference unchanged");
}

void Walker::Delete(int slot, int32_t (IQV_JavaVM::*call)(qv_jobject) noexcept, std::vector<Held>& held) {
  if (held.empty() || m_random.OneIn(10)) {
    Begin(slot, "null");
    return Succeeds((m_vm->*call)(nullptr));
  }
  const uint32_t index = m_random.Below(held.size());
  Begin(slot, "reference %u of %zu", index, held.size());
  Succeeds((m_vm->*call)(held[index].reference));
  held.erase(held.begin() + index);
}

void Walker::DeleteLocal() {
  static constexpr int32_t (IQV_JavaVM::*kSlots[])(qv_jobject) noexcept = {
      &IQV_JavaVM::DeleteLocalRef, &IQV_JavaVM::DeleteLocalRef2, &IQV_JavaVM::DeleteLocalRef3};
  const uint32_t which = m_random.Below(3);
  Delete(8 + static_cast<int>(which), kSlots[which], m_locals);
}

void Walker::DeleteGlobal() { Delete(11, &IQV_JavaVM::DeleteGlobalRef, m_globals); }

// Clears what is pending in any case. The names that are not there are few: a JVM remembers each that it has looked
// for.
void Walker::FindClass() {
  struct Known {
    const char* name;
    qv_jclass World::*cls;
  };
  static constexpr Known kKnown[] = {{"qvtest/Echo", &World::echo},
                                     {"qvtest/Soak$Tracked", &World::tracked},
                                     {"java/lang/String", &World::string},
                                     {"java/lang/Number", &World::number}};
  static constexpr const char* kOddNames[] = {
      "", "java.lang.String", "/", "java/lang/string", "[", "[Q", "qvtest/", "no such thing", "\x01\x7F", "(I)V"};
  qv_jclass out = this;
  if (m_random.OneIn(10)) return WithNull(12, &out, [&] { return m_vm->FindClass(&out, nullptr); });
  if (!m_random.OneIn(4)) {
    const Known& known = m_random.OneOf(kKnown);
    Begin(12, "\"%s\"", known.name);
    Succeeds(m_vm->FindClass(&out, known.name));
    NothingPending();
    if (Is(out != nullptr && Same(out, m_world.*known.cls), "another class"))
      m_env->DeleteLocalRef(static_cast<jobject>(out));
    return;
  }
  std::string name = "no/such/Thing" + std::to_string(m_random.Below(30));
  const bool odd = m_random.OneIn(3);
  if (odd) name = m_random.OneOf(kOddNames);
  Begin(12, "\"%s\"", name.c_str());
  NothingPending();
  const int32_t status = m_vm->FindClass(&out, name.c_str());
  Is(out == nullptr, "null without a class");
  if (odd) {
    Fails(status, {L"java.lang.", false, 0});
  } else {
    Fails(status, {L"java.lang.NoClassDefFoundError: " + ToWide(name), true, 0});
  }
  // Another thread's record in the shared object may have kept the service from taking this exception.
  if (!OnOwn()) m_vm->ExceptionClear(m_env);
}

void Walker::NewGlobal() {
  qv_jobject out = this;
  if (m_random.OneIn(10)) return WithNull(13, &out, [&] { return m_vm->NewGlobalRef(&out, nullptr); });
  Held held = Some(m_random.OneIn(2) ? Kind::String : Kind::Tracked);
  Begin(13, "a reference of kind %d", static_cast<int>(held.kind));
  Succeeds(m_vm->NewGlobalRef(&out, held.reference));
  if (!Is(out != nullptr && out != held.reference && Same(out, held.reference), "a reference to the same object"))
    return;
  held.reference = out;
  held.global = true;
  Keep(std::move(held));
}

void Walker::NewString() {
  qv_jstring out = this;
  if (m_random.OneIn(20)) return WithNull(14, &out, [&] { return m_vm->NewString(&out, nullptr); });
  const std::wstring text = RandomText();
  Begin(14, "a text of %zu units", text.size());
  Succeeds(m_vm->NewString(&out, text.c_str()));
  if (Is(TextIs(out, text), "another text")) Keep({.reference = out, .kind = Kind::String, .text = text});
}

void Walker::GetStringLength() {
  int32_t length = 7;
  if (m_random.OneIn(10)) return WithNull(15, &length, [&] { return m_vm->GetStringLength(&length, nullptr); });
  const Held& held = Some(Kind::String);
  Begin(15, "a string of %zu units", held.text.size());
  Succeeds(m_vm->GetStringLength(&length, held.reference));
  Is(length == static_cast<int32_t>(held.text.size()), "another length");
}

void Walker::GetStringChars() {
  wchar_t none = L'x';
  if (m_random.OneIn(10)) return WithNull(16, &none, [&] { return m_vm->GetStringChars(&none, nullptr, nullptr); });
  const Held& held = Some(Kind::String);
  int32_t size = static_cast<int32_t>(m_random.Next());
  Begin(16, "size %d, a string of %zu units", static_cast<int>(size), held.text.size());
  std::wstring buffer(held.text.size() + 2, kCanary);
  Succeeds(m_vm->GetStringChars(buffer.data(), m_random.OneIn(2) ? nullptr : &size, held.reference));
  Is(buffer == held.text + L'\0' + kCanary, "the text, its null and nothing more");
}

void Walker::GetStringValue() {
  auto* text = reinterpret_cast<IQvString*>(this);
  if (m_random.OneIn(10)) return WithNull(17, &text, [&] { return m_vm->GetStringValue(&text, nullptr); });
  const bool embedded = m_random.OneIn(10);
  const std::wstring units(L"before\0after", 12);
  const Held held = embedded ? MakeString(units) : Held(Some(Kind::String));
  Begin(17, "a string of %zu units", held.text.size());
  Succeeds(m_vm->GetStringValue(&text, held.reference));
  Is(TakeText(text) == held.text.substr(0, held.text.find(L'\0')), "another text");
  if (embedded) m_env->DeleteLocalRef(static_cast<jobject>(held.reference));
}

void Walker::NewObject() {
  qv_jobject out = this;
  switch (m_random.Below(8)) {
    case 0:
      return WithNull(18, &out, [&] { return m_vm->NewObject(&out, nullptr, "()"); });
    case 1:
      return WithNull(18, &out, [&] { return m_vm->NewObject(&out, m_world.echo, nullptr); });
    case 2: {
      static constexpr const char* kMissing[] = {"(J)", "", "(", "()V", "(Ljava/lang/String)", "(II", "\x01"};
      const char* const signature = m_random.OneOf(kMissing);
      Begin(18, "\"%s\"", signature);
      FailsSilently(m_vm->NewObject(&out, m_world.echo, signature));
      Is(out == nullptr, "null without a constructor");
      return LeavesPending(L"java.lang.NoSuchMethodError", false);
    }
    case 3: {
      std::wstring message = RandomText().substr(0, 100);
      const Held text = MakeString(message);
      Begin(18, "a constructor that throws a text of %zu units", message.size());
      Succeeds(m_vm->NewObject(&out, m_world.faults, "(Ljava/lang/String;)", text.reference));
      Is(out == nullptr, "null when the constructor throws");
      LeavesPending(L"java.lang.IllegalArgumentException: " + message, true);
      return;
    }
    case 4:
      Begin(18, "an abstract class");
      Succeeds(m_vm->NewObject(&out, m_world.number, "()"));
      Is(out == nullptr, "null of an abstract class");
      return LeavesPending(L"java.lang.InstantiationException", false);
    case 5: {
      static constexpr struct {
        double value;
        const char* text;
      } kReals[] = {{0.5, "0.5"}, {-2.25, "-2.25"}, {1e10, "1.0E10"}, {0.0, "0.0"}, {-0.0, "-0.0"}};
      const auto& real = m_random.OneOf(kReals);
      const auto number = static_cast<int64_t>(m_random.Next());
      const bool flag = m_random.OneIn(2);
      Begin(18, "ten arguments, %lld and %s among them", static_cast<long long>(number), real.text);
      Succeeds(m_vm->NewObject(&out, m_world.echo, "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)", flag ? 1 : 0,
                               static_cast<int>(static_cast<int8_t>(number)), static_cast<int>(number & 0xFFFF),
                               static_cast<int>(static_cast<int16_t>(number)), static_cast<int32_t>(number), number,
                               real.value, real.value, static_cast<qv_jobject>(nullptr),
                               static_cast<qv_jobject>(nullptr)));
      std::ostringstream expected;
      expected << (flag ? "true " : "false ") << static_cast<int>(static_cast<int8_t>(number)) << ' '
               << (number & 0xFFFF) << ' ' << static_cast<int16_t>(number) << ' ' << static_cast<int32_t>(number) << ' '
               << number << ' ' << real.text << ' ' << real.text << " true null";
      if (!Is(out != nullptr, "an object")) return;
      const jmethodID made =
          m_env->GetMethodID(static_cast<jclass>(static_cast<jobject>(m_world.echo)), "made", "()Ljava/lang/String;");
      const jobject text = m_env->CallObjectMethod(static_cast<jobject>(out), made);
      Is(TextIs(text, ToWide(expected.str())), "the arguments as they arrived");
      m_env->DeleteLocalRef(text);
      m_env->DeleteLocalRef(static_cast<jobject>(out));
      return;
    }
    default: {
      const auto id = static_cast<int32_t>(m_random.Next());
      Begin(18, "number %d", static_cast<int>(id));
      Succeeds(m_vm->NewObject(&out, m_world.tracked, "(I)", id));
      if (Is(out != nullptr, "an object")) Keep({.reference = out, .kind = Kind::Tracked, .id = id});
    }
  }
}

void Walker::NewDefaultObject() {
  qv_jobject out = this;
  const uint32_t variant = m_random.Below(5);
  Begin(19, "variant %u", variant);
  switch (variant) {
    case 0:
      FailsSilently(m_vm->NewDefaultObject(&out, nullptr));
      break;
    case 1:
      FailsSilently(m_vm->NewDefaultObject(&out, m_world.integer));
      LeavesPending(L"java.lang.NoSuchMethodError", false);
      break;
    case 2:
      Succeeds(m_vm->NewDefaultObject(&out, m_world.number));
      LeavesPending(L"java.lang.InstantiationException", false);
      break;
    default:
      Succeeds(m_vm->NewDefaultObject(&out, m_world.echo));
      if (Is(out != nullptr, "an object")) m_env->DeleteLocalRef(static_cast<jobject>(out));
      return;
  }
  Is(out == nullptr, "null without an object");
}

// -- arrays --

void Walker::NewStringArray() {
  qv_jarray out = this;
  if (m_pending || m_random.OneIn(8)) {
    Begin(43, "a null out-pointer");
    return StatusIs(m_vm->NewStringArray(nullptr, 1), QV_E_INVALIDARG);
  }
  const bool negative = m_random.OneIn(8);
  const int32_t length =
      negative ? -1 - static_cast<int32_t>(m_random.Below(1000)) : static_cast<int32_t>(m_random.Below(40));
  Begin(43, "%d", static_cast<int>(length));
  Prologue();
  Succeeds(m_vm->NewStringArray(&out, length));
  if (negative) {
    Is(out == nullptr, "null of a negative length");
    return LeavesPending(L"java.lang.NegativeArraySizeException", false);
  }
  const auto array = static_cast<jobjectArray>(static_cast<jobject>(out));
  if (!Is(array != nullptr && m_env->GetArrayLength(array) == length, "an array of the length")) return;
  for (const int32_t index : {0, length - 1}) {
    if (length == 0) break;
    const jobject element = m_env->GetObjectArrayElement(array, index);
    Is(TextIs(element, L""), "empty elements");
    m_env->DeleteLocalRef(element);
  }
  Keep({.reference = out,
        .kind = Kind::Strings,
        .elements = std::vector<std::optional<std::wstring>>(static_cast<size_t>(length), L"")});
}

void Walker::SetObjectArrayElement() {
  if (m_pending || m_random.OneIn(10)) {
    Begin(44, "a null array");
    Prologue();
    return Rejects(m_vm->SetObjectArrayElement(nullptr, 0, nullptr));
  }
  Some(Kind::Strings);
  Some(Kind::String);
  Held* const array = Pick(Kind::Strings);
  const Held* const string = Pick(Kind::String);
  if (array == nullptr || string == nullptr) return;
  const auto length = static_cast<int32_t>(array->elements.size());
  const uint32_t variant = m_random.Below(8);
  if (variant == 0 || length == 0) {
    static constexpr int32_t kOutside[] = {-1, INT32_MIN, INT32_MAX};
    const int32_t index = m_random.OneIn(2) ? length : m_random.OneOf(kOutside);
    Begin(44, "index %d of %d", static_cast<int>(index), static_cast<int>(length));
    Prologue();
    return Fails(m_vm->SetObjectArrayElement(array->reference, index, string->reference),
                 {L"java.lang.ArrayIndexOutOfBoundsException", false, QV_CODE_CALL_FAILED});
  }
  const auto index = static_cast<int32_t>(m_random.Below(static_cast<size_t>(length)));
  Begin(44, "index %d of %d, variant %u", static_cast<int>(index), static_cast<int>(length), variant);
  Prologue();
  if (variant == 1) {
    Fails(m_vm->SetObjectArrayElement(array->reference, index, m_world.integerObject),
          {L"java.lang.ArrayStoreException", false, QV_CODE_CALL_FAILED});
  } else {
    const bool null = variant == 2;
    Succeeds(m_vm->SetObjectArrayElement(array->reference, index, null ? nullptr : string->reference));
    array->elements[static_cast<size_t>(index)] = null ? std::nullopt : std::optional(string->text);
  }
  const jobject seen =
      m_env->ExceptionCheck() != JNI_FALSE
          ? nullptr
          : m_env->GetObjectArrayElement(static_cast<jobjectArray>(static_cast<jobject>(array->reference)), index);
  const std::optional<std::wstring>& expected = array->elements[static_cast<size_t>(index)];
  Is(expected ? TextIs(seen, *expected) : seen == nullptr, "another element");
  m_env->DeleteLocalRef(seen);
}

void Walker::NewByteArray() {
  qv_jarray out = this;
  if (m_pending || m_random.OneIn(8)) {
    Begin(45, "a null out-pointer");
    return StatusIs(m_vm->NewByteArray(nullptr, 1), QV_E_INVALIDARG);
  }
  const bool negative = m_random.OneIn(8);
  uint32_t length = m_random.Below(100);
  if (m_random.OneIn(100)) length = m_random.Below(100000);
  const int32_t asked = negative ? -1 - static_cast<int32_t>(length) : static_cast<int32_t>(length);
  Begin(45, "%d", static_cast<int>(asked));
  Prologue();
  const int32_t status = m_vm->NewByteArray(&out, asked);
  if (negative) {
    Is(out == nullptr, "null of a negative length");
    return Fails(status, {L"java.lang.NegativeArraySizeException", false, QV_CODE_CALL_FAILED});
  }
  Succeeds(status);
  const auto array = static_cast<jbyteArray>(static_cast<jobject>(out));
  if (Is(array != nullptr && m_env->GetArrayLength(array) == asked, "an array of the length")) {
    Keep({.reference = out, .kind = Kind::Bytes, .bytes = std::vector<int8_t>(length)});
  }
}

// Of so many bytes, or a negative number.
int32_t Walker::RandomCount(size_t bytes) {
  return m_random.OneIn(10) ? -1 - static_cast<int32_t>(m_random.Below(1000))
                            : static_cast<int32_t>(m_random.Below(bytes + 1));
}

void Walker::GetBytes() {
  int8_t none = 7;
  if (m_pending || m_random.OneIn(8)) {
    Begin(46, "null");
    Prologue();
    return Rejects(m_random.OneIn(2) || m_pending ? m_vm->GetByteArrayData(nullptr, 0, 1, &none)
                                                  : m_vm->GetByteArrayData(m_world.integerObject, 0, 1, nullptr));
  }
  const Held& held = Some(Kind::Bytes);
  const int32_t count = RandomCount(held.bytes.size());
  Begin(46, "%d of %zu bytes", static_cast<int>(count), held.bytes.size());
  Prologue();
  std::vector<int8_t> bytes(held.bytes.size() + 1, 7);
  std::vector<int8_t> expected = bytes;
  std::copy_n(held.bytes.begin(), std::max(count, 0), expected.begin());
  Succeeds(m_vm->GetByteArrayData(held.reference, static_cast<int32_t>(m_random.Next()), count, bytes.data()));
  Is(bytes == expected, "so many bytes and no more");
}

void Walker::SetBytes() {
  const int8_t one = 7;
  if (m_pending || m_random.OneIn(8)) {
    Begin(47, "null");
    Prologue();
    return Rejects(m_random.OneIn(2) || m_pending ? m_vm->SetByteArrayData(nullptr, 0, &one, 1)
                                                  : m_vm->SetByteArrayData(m_world.integerObject, 0, nullptr, 1));
  }
  Held& held = Some(Kind::Bytes);
  const int32_t count = RandomCount(held.bytes.size());
  Begin(47, "%d of %zu bytes", static_cast<int>(count), held.bytes.size());
  std::vector<int8_t> bytes(held.bytes.size() + 1);
  for (int8_t& byte : bytes) byte = static_cast<int8_t>(m_random.Next());
  Prologue();
  Succeeds(m_vm->SetByteArrayData(held.reference, static_cast<int32_t>(m_random.Next()), bytes.data(), count));
  std::copy_n(bytes.begin(), std::max(count, 0), held.bytes.begin());
  std::vector<int8_t> seen(held.bytes.size());
  m_env->GetByteArrayRegion(static_cast<jbyteArray>(static_cast<jobject>(held.reference)), 0,
                            static_cast<jsize>(seen.size()), seen.data());
  Is(seen == held.bytes, "so many bytes and no more");
}

// Has Java count the object until nothing refers to it.
void Walker::Track() {
  static constexpr Kind kKinds[] = {Kind::String, Kind::Bytes, Kind::Strings};
  const Held& held = Some(m_random.OneOf(kKinds));
  Begin(40, "track of kind %d", static_cast<int>(held.kind));
  Prologue();
  Succeeds(m_vm->CallStaticVoidMethod(m_world.soak, "track", "(Ljava/lang/Object;)V", held.reference));
}

}  // namespace qvtest
