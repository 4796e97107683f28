// Slots 7 to 19 and 43 to 47: references, classes, strings, construction, arrays.
#include <algorithm>
#include <sstream>

#include "tests/reliability/soak/walker.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr wchar_t kCanary = 0xABCD;

// Without its argument an operation fails, and what it gives is nothing.
template <class Out, class Call>
void WithNull(Walker& w, int slot, const Out* out, Call&& call) {
  w.Begin(slot, "null");
  w.FailsSilently(call());
  w.Is(*out == Out{}, "nothing without an argument");
}

void CastReference(Walker& w) {
  w.Begin(7, "a reference");
  qv_jobject const given = w.random.OneIn(2) ? w.world.echo : nullptr;
  qv_jobject out = &w;
  w.Succeeds(w.vm->CastReference(&out, given));
  w.Is(out == given, "the reference unchanged");
}

void Delete(Walker& w, int slot, int32_t (IQV_JavaVM::*call)(qv_jobject) noexcept, std::vector<Held>& held) {
  if (held.empty() || w.random.OneIn(10)) {
    w.Begin(slot, "null");
    return w.Succeeds((w.vm->*call)(nullptr));
  }
  const uint32_t index = w.random.Below(held.size());
  w.Begin(slot, "reference %u of %zu", index, held.size());
  w.Succeeds((w.vm->*call)(held[index].reference));
  held.erase(held.begin() + index);
}

void DeleteLocal(Walker& w) {
  static constexpr int32_t (IQV_JavaVM::*kSlots[])(qv_jobject) noexcept = {
      &IQV_JavaVM::DeleteLocalRef, &IQV_JavaVM::DeleteLocalRef2, &IQV_JavaVM::DeleteLocalRef3};
  const uint32_t which = w.random.Below(3);
  Delete(w, 8 + static_cast<int>(which), kSlots[which], w.locals);
}

void DeleteGlobal(Walker& w) { Delete(w, 11, &IQV_JavaVM::DeleteGlobalRef, w.globals); }

// Clears what is pending in any case. The names that are not there are few: a JVM remembers each that it has looked
// for.
void FindClass(Walker& w) {
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
  qv_jclass out = &w;
  if (w.random.OneIn(10)) return WithNull(w, 12, &out, [&] { return w.vm->FindClass(&out, nullptr); });
  if (!w.random.OneIn(4)) {
    const Known& known = w.random.OneOf(kKnown);
    w.Begin(12, "\"%s\"", known.name);
    w.Succeeds(w.vm->FindClass(&out, known.name));
    w.NothingPending();
    if (w.Is(out != nullptr && w.Same(out, w.world.*known.cls), "another class")) w.Forget(out);
    return;
  }
  std::string name = "no/such/Thing" + std::to_string(w.random.Below(30));
  const bool odd = w.random.OneIn(3);
  if (odd) name = w.random.OneOf(kOddNames);
  w.Begin(12, "\"%s\"", name.c_str());
  w.NothingPending();
  const int32_t status = w.vm->FindClass(&out, name.c_str());
  w.Is(out == nullptr, "null without a class");
  if (odd) {
    w.Fails(status, {L"java.lang.", false, 0});
  } else {
    w.Fails(status, {L"java.lang.NoClassDefFoundError: " + ToWide(name), true, 0});
  }
  // Another thread's record in the shared object may have kept the service from taking this exception.
  if (!w.OnOwn()) w.vm->ExceptionClear(w.env);
}

void NewGlobal(Walker& w) {
  qv_jobject out = &w;
  if (w.random.OneIn(10)) return WithNull(w, 13, &out, [&] { return w.vm->NewGlobalRef(&out, nullptr); });
  Held held = w.Some(w.random.OneIn(2) ? Held::Kind::String : Held::Kind::Tracked);
  w.Begin(13, "a reference of kind %d", static_cast<int>(held.kind));
  w.Succeeds(w.vm->NewGlobalRef(&out, held.reference));
  if (!w.Is(out != nullptr && out != held.reference && w.Same(out, held.reference), "a reference to the same object"))
    return;
  held.reference = out;
  held.global = true;
  w.Keep(std::move(held));
}

void NewString(Walker& w) {
  qv_jstring out = &w;
  if (w.random.OneIn(20)) return WithNull(w, 14, &out, [&] { return w.vm->NewString(&out, nullptr); });
  const std::wstring text = w.RandomText();
  w.Begin(14, "a text of %zu units", text.size());
  w.Succeeds(w.vm->NewString(&out, text.c_str()));
  if (w.Is(w.TextIs(out, text), "another text")) w.Keep({.reference = out, .kind = Held::Kind::String, .text = text});
}

void GetStringLength(Walker& w) {
  int32_t length = 7;
  if (w.random.OneIn(10)) return WithNull(w, 15, &length, [&] { return w.vm->GetStringLength(&length, nullptr); });
  const Held& held = w.Some(Held::Kind::String);
  w.Begin(15, "a string of %zu units", held.text.size());
  w.Succeeds(w.vm->GetStringLength(&length, held.reference));
  w.Is(length == static_cast<int32_t>(held.text.size()), "another length");
}

void GetStringChars(Walker& w) {
  wchar_t none = L'x';
  if (w.random.OneIn(10)) return WithNull(w, 16, &none, [&] { return w.vm->GetStringChars(&none, nullptr, nullptr); });
  const Held& held = w.Some(Held::Kind::String);
  int32_t size = static_cast<int32_t>(w.random.Next());
  w.Begin(16, "size %d, a string of %zu units", static_cast<int>(size), held.text.size());
  std::wstring buffer(held.text.size() + 2, kCanary);
  w.Succeeds(w.vm->GetStringChars(buffer.data(), w.random.OneIn(2) ? nullptr : &size, held.reference));
  w.Is(buffer == held.text + L'\0' + kCanary, "the text, its null and nothing more");
}

void GetStringValue(Walker& w) {
  auto* text = reinterpret_cast<IQvString*>(&w);
  if (w.random.OneIn(10)) return WithNull(w, 17, &text, [&] { return w.vm->GetStringValue(&text, nullptr); });
  const bool embedded = w.random.OneIn(10);
  const std::wstring units(L"before\0after", 12);
  const Held held = embedded ? w.MakeString(units) : Held(w.Some(Held::Kind::String));
  w.Begin(17, "a string of %zu units", held.text.size());
  w.Succeeds(w.vm->GetStringValue(&text, held.reference));
  w.Is(TakeText(text) == held.text.substr(0, held.text.find(L'\0')), "another text");
  if (embedded) w.Forget(held.reference);
}

void NewObject(Walker& w) {
  qv_jobject out = &w;
  switch (w.random.Below(8)) {
    case 0:
      return WithNull(w, 18, &out, [&] { return w.vm->NewObject(&out, nullptr, "()"); });
    case 1:
      return WithNull(w, 18, &out, [&] { return w.vm->NewObject(&out, w.world.echo, nullptr); });
    case 2: {
      static constexpr const char* kMissing[] = {"(J)", "", "(", "()V", "(Ljava/lang/String)", "(II", "\x01"};
      const char* const signature = w.random.OneOf(kMissing);
      w.Begin(18, "\"%s\"", signature);
      w.FailsSilently(w.vm->NewObject(&out, w.world.echo, signature));
      w.Is(out == nullptr, "null without a constructor");
      return w.LeavesPending(L"java.lang.NoSuchMethodError", false);
    }
    case 3: {
      std::wstring message = w.RandomText().substr(0, 100);
      const Held text = w.MakeString(message);
      w.Begin(18, "a constructor that throws a text of %zu units", message.size());
      w.Succeeds(w.vm->NewObject(&out, w.world.faults, "(Ljava/lang/String;)", text.reference));
      w.Is(out == nullptr, "null when the constructor throws");
      w.LeavesPending(L"java.lang.IllegalArgumentException: " + message, true);
      return;
    }
    case 4:
      w.Begin(18, "an abstract class");
      w.Succeeds(w.vm->NewObject(&out, w.world.number, "()"));
      w.Is(out == nullptr, "null of an abstract class");
      return w.LeavesPending(L"java.lang.InstantiationException", false);
    case 5: {
      static constexpr struct {
        double value;
        const char* text;
      } kReals[] = {{0.5, "0.5"}, {-2.25, "-2.25"}, {1e10, "1.0E10"}, {0.0, "0.0"}, {-0.0, "-0.0"}};
      const auto& real = w.random.OneOf(kReals);
      const auto number = static_cast<int64_t>(w.random.Next());
      const bool flag = w.random.OneIn(2);
      w.Begin(18, "ten arguments, %lld and %s among them", static_cast<long long>(number), real.text);
      w.Succeeds(w.vm->NewObject(&out, w.world.echo, "(ZBCSIJFDLjava/lang/Object;Ljava/lang/String;)", flag ? 1 : 0,
                                 static_cast<int>(static_cast<int8_t>(number)), static_cast<int>(number & 0xFFFF),
                                 static_cast<int>(static_cast<int16_t>(number)), static_cast<int32_t>(number), number,
                                 real.value, real.value, static_cast<qv_jobject>(nullptr),
                                 static_cast<qv_jobject>(nullptr)));
      std::ostringstream expected;
      expected << (flag ? "true " : "false ") << static_cast<int>(static_cast<int8_t>(number)) << ' '
               << (number & 0xFFFF) << ' ' << static_cast<int16_t>(number) << ' ' << static_cast<int32_t>(number) << ' '
               << number << ' ' << real.text << ' ' << real.text << " true null";
      if (!w.Is(out != nullptr, "an object")) return;
      const jmethodID made =
          w.env->GetMethodID(static_cast<jclass>(static_cast<jobject>(w.world.echo)), "made", "()Ljava/lang/String;");
      const jobject text = w.env->CallObjectMethod(static_cast<jobject>(out), made);
      w.Is(w.TextIs(text, ToWide(expected.str())), "the arguments as they arrived");
      w.env->DeleteLocalRef(text);
      w.Forget(out);
      return;
    }
    default: {
      const auto id = static_cast<int32_t>(w.random.Next());
      w.Begin(18, "number %d", static_cast<int>(id));
      w.Succeeds(w.vm->NewObject(&out, w.world.tracked, "(I)", id));
      if (w.Is(out != nullptr, "an object")) w.Keep({.reference = out, .kind = Held::Kind::Tracked, .id = id});
    }
  }
}

void NewDefaultObject(Walker& w) {
  const struct {
    qv_jclass cls;
    int32_t status;
    const wchar_t* pending;
  } rows[] = {{nullptr, QV_E_FAIL, nullptr},
              {w.world.integer, QV_E_FAIL, L"java.lang.NoSuchMethodError"},
              {w.world.number, QV_S_OK, L"java.lang.InstantiationException"},
              {w.world.echo, QV_S_OK, nullptr},
              {w.world.echo, QV_S_OK, nullptr}};
  qv_jobject out = &w;
  const auto& row = w.random.OneOf(rows);
  w.Begin(19, "variant %td", &row - rows);
  w.StatusIs(w.vm->NewDefaultObject(&out, row.cls), row.status);
  if (row.pending != nullptr) w.LeavesPending(row.pending, false);
  if (!w.Is((out != nullptr) == (row.cls == w.world.echo), "an object, or none")) return;
  if (out != nullptr) w.Forget(out);
}

// -- arrays --

void NewStringArray(Walker& w) {
  qv_jarray out = &w;
  if (w.pending || w.random.OneIn(8)) {
    w.Begin(43, "a null out-pointer");
    return w.StatusIs(w.vm->NewStringArray(nullptr, 1), QV_E_INVALIDARG);
  }
  const bool negative = w.random.OneIn(8);
  const int32_t length =
      negative ? -1 - static_cast<int32_t>(w.random.Below(1000)) : static_cast<int32_t>(w.random.Below(40));
  w.Begin(43, "%d", static_cast<int>(length));
  w.Prologue();
  w.Succeeds(w.vm->NewStringArray(&out, length));
  if (negative) {
    w.Is(out == nullptr, "null of a negative length");
    return w.LeavesPending(L"java.lang.NegativeArraySizeException", false);
  }
  const auto array = static_cast<jobjectArray>(static_cast<jobject>(out));
  if (!w.Is(array != nullptr && w.env->GetArrayLength(array) == length, "an array of the length")) return;
  for (const int32_t index : {0, length - 1}) {
    if (length == 0) break;
    const jobject element = w.env->GetObjectArrayElement(array, index);
    w.Is(w.TextIs(element, L""), "empty elements");
    w.env->DeleteLocalRef(element);
  }
  w.Keep({.reference = out,
          .kind = Held::Kind::Strings,
          .elements = std::vector<std::optional<std::wstring>>(static_cast<size_t>(length), L"")});
}

void SetObjectArrayElement(Walker& w) {
  if (w.pending || w.random.OneIn(10)) {
    w.Begin(44, "a null array");
    w.Prologue();
    return w.Rejects(w.vm->SetObjectArrayElement(nullptr, 0, nullptr));
  }
  w.Some(Held::Kind::Strings);
  w.Some(Held::Kind::String);
  Held* const array = w.Pick(Held::Kind::Strings);
  const Held* const string = w.Pick(Held::Kind::String);
  if (array == nullptr || string == nullptr) return;
  const auto length = static_cast<int32_t>(array->elements.size());
  const uint32_t variant = w.random.Below(8);
  if (variant == 0 || length == 0) {
    static constexpr int32_t kOutside[] = {-1, INT32_MIN, INT32_MAX};
    const int32_t index = w.random.OneIn(2) ? length : w.random.OneOf(kOutside);
    w.Begin(44, "index %d of %d", static_cast<int>(index), static_cast<int>(length));
    w.Prologue();
    return w.Fails(w.vm->SetObjectArrayElement(array->reference, index, string->reference),
                   {L"java.lang.ArrayIndexOutOfBoundsException", false, QV_CODE_CALL_FAILED});
  }
  const auto index = static_cast<int32_t>(w.random.Below(static_cast<size_t>(length)));
  w.Begin(44, "index %d of %d, variant %u", static_cast<int>(index), static_cast<int>(length), variant);
  w.Prologue();
  if (variant == 1) {
    w.Fails(w.vm->SetObjectArrayElement(array->reference, index, w.world.integerObject),
            {L"java.lang.ArrayStoreException", false, QV_CODE_CALL_FAILED});
  } else {
    const bool null = variant == 2;
    w.Succeeds(w.vm->SetObjectArrayElement(array->reference, index, null ? nullptr : string->reference));
    array->elements[static_cast<size_t>(index)] = null ? std::nullopt : std::optional(string->text);
  }
  const jobject seen =
      w.env->ExceptionCheck() != JNI_FALSE
          ? nullptr
          : w.env->GetObjectArrayElement(static_cast<jobjectArray>(static_cast<jobject>(array->reference)), index);
  const std::optional<std::wstring>& expected = array->elements[static_cast<size_t>(index)];
  w.Is(expected ? w.TextIs(seen, *expected) : seen == nullptr, "another element");
  w.env->DeleteLocalRef(seen);
}

void NewByteArray(Walker& w) {
  qv_jarray out = &w;
  if (w.pending || w.random.OneIn(8)) {
    w.Begin(45, "a null out-pointer");
    return w.StatusIs(w.vm->NewByteArray(nullptr, 1), QV_E_INVALIDARG);
  }
  const bool negative = w.random.OneIn(8);
  uint32_t length = w.random.Below(100);
  if (w.random.OneIn(100)) length = w.random.Below(100000);
  const int32_t asked = negative ? -1 - static_cast<int32_t>(length) : static_cast<int32_t>(length);
  w.Begin(45, "%d", static_cast<int>(asked));
  w.Prologue();
  const int32_t status = w.vm->NewByteArray(&out, asked);
  if (negative) {
    w.Is(out == nullptr, "null of a negative length");
    return w.Fails(status, {L"java.lang.NegativeArraySizeException", false, QV_CODE_CALL_FAILED});
  }
  w.Succeeds(status);
  const auto array = static_cast<jbyteArray>(static_cast<jobject>(out));
  if (w.Is(array != nullptr && w.env->GetArrayLength(array) == asked, "an array of the length")) {
    w.Keep({.reference = out, .kind = Held::Kind::Bytes, .bytes = std::vector<int8_t>(length)});
  }
}

// Of so many bytes, or a negative number.
int32_t RandomCount(Walker& w, size_t bytes) {
  return w.random.OneIn(10) ? -1 - static_cast<int32_t>(w.random.Below(1000))
                            : static_cast<int32_t>(w.random.Below(bytes + 1));
}

void GetBytes(Walker& w) {
  int8_t none = 7;
  if (w.pending || w.random.OneIn(8)) {
    w.Begin(46, "null");
    w.Prologue();
    return w.Rejects(w.random.OneIn(2) || w.pending ? w.vm->GetByteArrayData(nullptr, 0, 1, &none)
                                                    : w.vm->GetByteArrayData(w.world.integerObject, 0, 1, nullptr));
  }
  const Held& held = w.Some(Held::Kind::Bytes);
  const int32_t count = RandomCount(w, held.bytes.size());
  w.Begin(46, "%d of %zu bytes", static_cast<int>(count), held.bytes.size());
  w.Prologue();
  std::vector<int8_t> bytes(held.bytes.size() + 1, 7);
  std::vector<int8_t> expected = bytes;
  std::copy_n(held.bytes.begin(), std::max(count, 0), expected.begin());
  w.Succeeds(w.vm->GetByteArrayData(held.reference, static_cast<int32_t>(w.random.Next()), count, bytes.data()));
  w.Is(bytes == expected, "so many bytes and no more");
}

void SetBytes(Walker& w) {
  const int8_t one = 7;
  if (w.pending || w.random.OneIn(8)) {
    w.Begin(47, "null");
    w.Prologue();
    return w.Rejects(w.random.OneIn(2) || w.pending ? w.vm->SetByteArrayData(nullptr, 0, &one, 1)
                                                    : w.vm->SetByteArrayData(w.world.integerObject, 0, nullptr, 1));
  }
  Held& held = w.Some(Held::Kind::Bytes);
  const int32_t count = RandomCount(w, held.bytes.size());
  w.Begin(47, "%d of %zu bytes", static_cast<int>(count), held.bytes.size());
  std::vector<int8_t> bytes(held.bytes.size() + 1);
  for (int8_t& byte : bytes) byte = static_cast<int8_t>(w.random.Next());
  w.Prologue();
  w.Succeeds(w.vm->SetByteArrayData(held.reference, static_cast<int32_t>(w.random.Next()), bytes.data(), count));
  std::copy_n(bytes.begin(), std::max(count, 0), held.bytes.begin());
  std::vector<int8_t> seen(held.bytes.size());
  w.env->GetByteArrayRegion(static_cast<jbyteArray>(static_cast<jobject>(held.reference)), 0,
                            static_cast<jsize>(seen.size()), seen.data());
  w.Is(seen == held.bytes, "so many bytes and no more");
}

// Has Java count the object until nothing refers to it.
void Track(Walker& w) {
  static constexpr Held::Kind kKinds[] = {Held::Kind::String, Held::Kind::Bytes, Held::Kind::Strings};
  const Held& held = w.Some(w.random.OneOf(kKinds));
  w.Begin(40, "track of kind %d", static_cast<int>(held.kind));
  w.Prologue();
  w.Succeeds(w.vm->CallStaticVoidMethod(w.world.soak, "track", "(Ljava/lang/Object;)V", held.reference));
}

}  // namespace

std::vector<OperationRow> ReferenceRows() {
  return {
      {4, true, CastReference},
      {10, true, DeleteLocal},
      {5, true, DeleteGlobal},
      {4, true, FindClass},
      {6, false, NewGlobal},
      {12, false, NewString},
      {6, false, GetStringLength},
      {6, false, GetStringChars},
      {6, false, GetStringValue},
      {6, false, NewObject},
      {4, false, NewDefaultObject},
      {3, true, NewStringArray},
      {6, true, SetObjectArrayElement},
      {4, true, NewByteArray},
      {6, true, GetBytes},
      {6, true, SetBytes},
      {6, false, Track},
  };
}

}  // namespace qvtest
