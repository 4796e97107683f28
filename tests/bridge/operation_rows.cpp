// The rows. What a failing call leads to was worked out from the rules of each operation, step by step.
#include "tests/bridge/operation_rows.h"

#include <type_traits>

#include "tests/bridge/typed_call_rows.h"
#include "tests/support/slot_call.h"

namespace qvtest {
namespace {

using Then = std::optional<Lines>;
FaultRows Null(const char* function, int n, const End& end, const Then& then = {}) {
  return {{function, n, Fault::Null, end, then}};
}
FaultRows Throws(const char* function, int n, const End& end, const Then& then = {}) {
  return {{function, n, Fault::Throw, end, then}};
}
FaultRows Fails(const char* function, int n, const End& whenNull, const End& whenThrown) {
  return Null(function, n, whenNull) + Throws(function, n, whenThrown);
}
FaultRows Both(const char* function, int n, const End& end, const Then& then = {}) {
  return Null(function, n, end, then) + Throws(function, n, end, then);
}
// Of an operation that looks for no exception itself: what was thrown stays pending.
FaultRows Bare(const char* function, int n, End end, const Then& then = {}) {
  const FaultRows null = Null(function, n, end, then);
  end.pending = true;
  return null + Throws(function, n, end, then);
}

const RecordView kInternalRecord = Record(kInternal, -1001);
RecordView ErrorOf(const std::string& function, int32_t code) {
  return Record(L"java.lang.Error: " + ToWide(function), code);
}
RecordView NotFound(const std::string& name) {
  return Record(L"Unable to find java " + ToWide(name) + L" class. Check CLASSPATH.", 0);
}

const Lines kCleared = {"slot 58 ExceptionClear", "ExceptionClear()"};

// The calls of a capture in a created JVM, the n-th of their functions.
FaultRows CaptureFaults(int findClass, int getMethodId, const RecordView& text, int32_t status = E_FAIL) {
  const RecordView unknown = Record(kUnknown, text.code);
  // The failed look-up captures its own error and looks nothing up for that.
  const Lines nested = {"slot 59 CaptureException", "ExceptionOccurred()", "ExceptionDescribe()"};
  const Lines released = {"ReleaseStringChars(\"" + ToUtf8(text.text) + "\", null)"};
  return Null("FindClass", findClass, {status, unknown, 1}, kNothingPending + kCleared) +
         Throws("FindClass", findClass, {status, unknown, 2}, nested + kCleared + kCleared) +
         Both("GetMethodID", getMethodId, {status, unknown, 2}, kCleared) +
         Null("CallObjectMethod", 1, {status, unknown, 2}, kCleared) +
         Throws("CallObjectMethod", 1, {status, text, 3}) +
         Both("GetStringChars", 1, {status, unknown, 3}, released + kCleared);
}

using Table = std::vector<Operation>;
using Call = std::function<int32_t(IQV_JavaVM&, FakeJni&)>;

// What an operation is given; made on the thread that calls it.
const auto kObject = [](FakeJni& jni) { return jni.GivenObject("it"); };
const auto kClass = [](FakeJni& jni) { return jni.GivenClass("a/B"); };
const auto kString = [](FakeJni& jni) { return jni.GivenString(L"x"); };
const auto kLongString = [](FakeJni& jni) { return jni.GivenString(std::wstring(1000, L'x')); };
const auto kArray = [](FakeJni& jni) { return jni.GivenArray(1); };
const auto kBytes = [](FakeJni& jni) { return jni.GivenBytes({1, 2}); };

template <class Argument>
auto Given(FakeJni& jni, const Argument& argument) {
  if constexpr (std::is_invocable_v<Argument, FakeJni&>) {
    return argument(jni);
  } else {
    return argument;
  }
}

template <class... Arguments>
Call Calls(size_t slot, Arguments... arguments) {
  return [=](IQV_JavaVM& vm, FakeJni& jni) { return CallSlot<int32_t>(&vm, slot, Given(jni, arguments)...); };
}

// An operation whose first argument is an out value: it is set, and null after a failure.
template <class... Arguments>
Call Makes(size_t slot, Arguments... arguments) {
  return [=](IQV_JavaVM& vm, FakeJni& jni) {
    void* out = &out;
    const auto status = CallSlot<int32_t>(&vm, slot, &out, Given(jni, arguments)...);
    EXPECT_NE(jni.Vm().Label(out), "?") << "the out value is no reference";
    EXPECT_TRUE(status >= 0 || out == nullptr) << "a value of a failed operation";
    return status;
  };
}

// The same with a text object, which goes.
template <class... Arguments>
Call MakesText(size_t slot, const std::wstring& text, Arguments... arguments) {
  return [=](IQV_JavaVM& vm, FakeJni& jni) {
    auto* out = reinterpret_cast<IQvString*>(&jni);
    const auto status = CallSlot<int32_t>(&vm, slot, &out, Given(jni, arguments)...);
    EXPECT_EQ(TakeText(out), status >= 0 ? text : L"<null>");
    return status;
  };
}

// -- the table --

void AddReferencesAndStrings(Table& table) {
  const End fails = {E_FAIL, kNoRecord, 0};
  const End noMemory = {E_OUTOFMEMORY, kNoRecord, 0};
  table.push_back({.name = "CastReference", .log = {SlotLine(7)}, .call = Makes(7, kObject)});
  for (const size_t slot : {8u, 9u, 10u}) {
    table.push_back({.name = SlotName(slot),
                     .end = {S_OK, kNoRecord, -1},
                     .log = Entered(slot) + Lines{"DeleteLocalRef(it)"},
                     .call = Calls(slot, kObject)});
  }
  table.push_back({.name = "DeleteGlobalRef",
                   .end = {S_OK, kNoRecord, 0, -1},
                   .log = Entered(11) + Lines{"DeleteGlobalRef(global it)"},
                   .call = Calls(11, [](FakeJni& jni) { return jni.Vm().Make(nullptr, Object("it"), false); })});
  table.push_back({.name = "NewGlobalRef",
                   .end = {S_OK, kNoRecord, 0, 1},
                   .log = Entered(13) + Lines{"NewGlobalRef(it)"},
                   .faults = Bare("NewGlobalRef", 1, fails, Lines{}),
                   .call = Makes(13, kObject)});
  table.push_back({.name = "NewString",
                   .end = {S_OK, kNoRecord, 1},
                   .log = Entered(14) + Lines{"NewString(\"x\", 1)"},
                   .faults = Bare("NewString", 1, fails, Lines{}),
                   .call = Makes(14, L"x")});
  table.push_back({.name = "GetStringLength",
                   .log = Entered(15) + Lines{"GetStringLength(\"x\")"},
                   .call = [](IQV_JavaVM& vm, FakeJni& jni) {
                     int32_t length = -1;
                     const int32_t status = vm.GetStringLength(&length, jni.GivenString(L"x"));
                     EXPECT_EQ(length, status >= 0 ? 1 : 0);
                     return status;
                   }});
  table.push_back({.name = "GetStringChars",
                   .log = Entered(16) + Entered(15) + CharactersOf("\"x\""),
                   .faults = Bare("GetStringChars", 1, fails, Lines{"ReleaseStringChars(\"x\", null)"}),
                   .call = [](IQV_JavaVM& vm, FakeJni& jni) {
                     wchar_t buffer[] = L"before";
                     const int32_t status = vm.GetStringChars(buffer, nullptr, jni.GivenString(L"x"));
                     EXPECT_STREQ(buffer, status >= 0 ? L"x" : L"");
                     return status;
                   }});
  table.push_back({.name = "GetStringValue",
                   .log = Entered(17) + CharactersOf("\"x\""),
                   .faults = Bare("GetStringChars", 1, fails, Lines{"ReleaseStringChars(\"x\", null)"}),
                   .call = MakesText(17, L"x", kString),
                   .withoutMemory = {{noMemory, noMemory}}});
  table.push_back({.name = "GetStringValue of a long text",
                   .log = Entered(17) + CharactersOf("\"xxxxxxxx...\"[1000]"),
                   .faults = Bare("GetStringChars", 1, fails, Lines{"ReleaseStringChars(\"xxxxxxxx...\"[1000], null)"}),
                   .call = MakesText(17, std::wstring(1000, L'x'), kLongString),
                   // the copy of the characters, the string object
                   .withoutMemory = {{noMemory, noMemory}, {noMemory, noMemory}}});
}

void AddConstruction(Table& table) {
  const End fails = {E_FAIL, kNoRecord, 0};
  const End nothingMade = {S_OK, kNoRecord, 0};
  table.push_back({.name = "NewObject",
                   .end = {S_OK, kNoRecord, 1},
                   .log = Entered(18) + Lines{"GetMethodID(a/B, \"<init>\", \"(Ljava/lang/String;)V\")",
                                              "NewObjectV(a/B, <init>(Ljava/lang/String;)V, \"x\")"},
                   .faults = Bare("GetMethodID", 1, fails, Lines{}) + Bare("NewObjectV", 1, nothingMade, Lines{}),
                   .call = Makes(18, kClass, "(Ljava/lang/String;)", kString)});
  table.push_back({.name = "NewDefaultObject",
                   .end = {S_OK, kNoRecord, 1},
                   .log = Entered(19) + Lines{"GetMethodID(a/B, \"<init>\", \"()V\")", "NewObject(a/B, <init>()V)"},
                   .faults = Bare("GetMethodID", 1, fails, Lines{}) + Bare("NewObject", 1, nothingMade, Lines{}),
                   .call = Makes(19, kClass)});
}

int32_t FindSuchClass(IQV_JavaVM& vm, FakeJni& jni) {
  qv_jclass out = &vm;
  const int32_t status = vm.FindClass(&out, "a/B");
  EXPECT_EQ(jni.Vm().Label(out), status >= 0 ? "a/B" : "null");
  return status;
}

int32_t ClassPathA(void*, IQvString** text) { return QvshrCreateString(L"a", text); }

void AddClassLookup(Table& table) {
  const RecordView noClassDef = Record(L"java.lang.NoClassDefFoundError: a/B", 0);
  const RecordView classNotFound = Record(L"java.lang.ClassNotFoundException: a.B", -1001);
  const End notFound = {E_FAIL, NotFound("a/B"), 0};
  table.push_back({.name = "FindClass, known",
                   .end = {S_OK, kNoRecord, 1},
                   .log = DirectLookup("a/B"),
                   .faults = Null("FindClass", 1, notFound, kNothingPending) +
                             Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}),
                   .prepare = [](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.classes.insert("a/B"); },
                   .call = FindSuchClass});
  table.push_back(
      {.name = "FindClass, unknown in a created JVM",
       .end = {E_FAIL, noClassDef, 3},
       .log = DirectLookup("a/B") + CaptureOf("java.lang.NoClassDefFoundError", "java.lang.NoClassDefFoundError: a/B"),
       .faults = Null("FindClass", 1, notFound, kNothingPending) +
                 Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) + CaptureFaults(2, 1, noClassDef),
       .call = FindSuchClass,
       .withoutMemory = {{{E_FAIL, NotFound("a/B"), 3}, {E_FAIL, kNoRecord, 3}}}});

  // A joined JVM whose first unknown class makes the loader. Three classes stay from the build, one from the load.
  const auto found = [](const RecordView& record, int locals) { return End{S_OK, record, locals, 1}; };
  const End clean = found(kNoRecord, 5);
  const End noLoader = {E_FAIL, kInternalRecord, 4};
  const Lines noArray = LoaderLookup("a.B", false) + Deleted("\"a.B\"");
  Lines noArrayThrown = noArray;
  for (const size_t call : {2u, 3u}) noArrayThrown[call] += " !pending";

  table.push_back(
      {.name = "FindClass, loaded in a joined JVM by a new loader",
       .joined = true,
       .end = clean,
       .log = DirectLookup("a/B") + kCleared + kLoaderClasses +
              Lines{"slot 55 GetClassPath", "NewObjectArray(1, java/net/URL, null)"} + UrlLines("a", 0) +
              MakeLoaderLines() + LoaderLookup("a.B") + kNothingPending + Deleted("\"a.B\""),
       .faults =
           Both("FindClass", 1, clean)  // the JVM's own look-up
           + Fails("FindClass", 2, notFound, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
           Fails("FindClass", 3, {E_FAIL, NotFound("a/B"), 1}, {E_FAIL, ErrorOf("FindClass", 0), 4}) +
           Fails("FindClass", 4, {E_FAIL, NotFound("a/B"), 2}, {E_FAIL, ErrorOf("FindClass", 0), 5}) +
           Null("NewObjectArray", 1, noLoader, noArray) +
           Throws("NewObjectArray", 1, {E_FAIL, kInternalRecord, 4, 0, true}, noArrayThrown)
           // the path: its place stays empty; what nobody captured comes up when the class is loaded
           + Fails("NewString", 1, clean, found(ErrorOf("NewString", -1001), 8)) +
           Fails("GetMethodID", 1, clean, found(ErrorOf("GetMethodID", -1001), 8)) +
           Fails("NewObjectV", 1, clean, found(ErrorOf("NewObjectV", -1001), 8)) +
           Fails("GetMethodID", 2, clean, found(kNoRecord, 8)) +
           Fails("CallObjectMethodV", 1, clean, found(kNoRecord, 8)) +
           Throws("SetObjectArrayElement", 1, found(ErrorOf("SetObjectArrayElement", -1001), 8))
           // the loader
           + Bare("GetMethodID", 3, noLoader) + Bare("NewObjectV", 2, noLoader) +
           Bare("NewGlobalRef", 1, noLoader)
           // the class
           + Fails("NewString", 2, {E_FAIL, NotFound("a/B"), 3, 1}, {E_FAIL, ErrorOf("NewString", 0), 6, 1}) +
           Bare("FindClass", 5, {E_FAIL, kInternalRecord, 3, 1}) +
           Fails("GetMethodID", 4, {E_FAIL, NotFound("a/B"), 4, 1}, {E_FAIL, ErrorOf("GetMethodID", -1001), 7, 1}) +
           Fails("CallObjectMethodV", 2, {E_FAIL, NotFound("a/B"), 4, 1},
                 found(ErrorOf("CallObjectMethodV", -1001), 8)),
       .prepare =
           [](FakeVm& java, IQV_JavaVM&, SlotTable& slots) {
             java.loaderClasses = {"a.B"};
             slots.Replace<55>(ClassPathA);
           },
       .call = FindSuchClass,
       .withoutMemory =  // the class path's string object, the copy of its text, the name of the class
       {{{E_FAIL, NotFound("a/B"), 3, 0}, {E_FAIL, kNoRecord, 3, 0}},
        {{E_FAIL, NotFound("a/B"), 3, 0}, {E_FAIL, kNoRecord, 3, 0}},
        {{E_FAIL, NotFound("a/B"), 3, 1}, {E_FAIL, kNoRecord, 3, 1}}}});

  // The loader is there and does not know the class.
  const RecordView unknown = Record(kUnknown, -1001);
  const End clean2 = {E_FAIL, classNotFound, 4};
  table.push_back(
      {.name = "FindClass, unknown in a joined JVM with a loader",
       .joined = true,
       .end = clean2,
       .log = DirectLookup("a/B") + kCleared + LoaderLookup("a.B") +
              CaptureOf("java.lang.ClassNotFoundException", ToUtf8(classNotFound.text)) + Deleted("\"a.B\""),
       .faults =
           Both("FindClass", 1, clean2) + Fails("NewString", 1, notFound, {E_FAIL, ErrorOf("NewString", 0), 3}) +
           Bare("FindClass", 2, {E_FAIL, kInternalRecord, 0}) +
           Fails("GetMethodID", 1, {E_FAIL, NotFound("a/B"), 1}, {E_FAIL, ErrorOf("GetMethodID", -1001), 4}) +
           Fails("CallObjectMethodV", 1, {E_FAIL, NotFound("a/B"), 1}, {E_FAIL, ErrorOf("CallObjectMethodV", -1001), 4})
           // the capture; its own look-up asks the loader as well
           + Both("FindClass", 3, {E_FAIL, unknown, 4}) + Both("GetMethodID", 2, {E_FAIL, unknown, 3}) +
           Fails("CallObjectMethod", 1, {E_FAIL, unknown, 3}, {E_FAIL, classNotFound, 4}) +
           Both("GetStringChars", 1, {E_FAIL, unknown, 4}),
       .prepare =
           [](FakeVm& java, IQV_JavaVM& vm, SlotTable& slots) {
             java.loaderClasses = {"first.One"};
             slots.Replace<55>(ClassPathA);
             qv_jclass first = nullptr;
             EXPECT_EQ(vm.FindClass(&first, "first/One"), S_OK);
           },
       .call = FindSuchClass,
       .withoutMemory =  // the name of the class, the record of the exception
       {{{E_FAIL, NotFound("a/B"), 0}, {E_FAIL, kNoRecord, 0}, DirectLookup("a/B") + kCleared + kNothingPending},
        {{E_FAIL, NotFound("a/B"), 4}, {E_FAIL, kNoRecord, 4}}}});
}

constexpr uint64_t kUntouched = 0xCCCCCCCCCCCCCCCC;

void AddTypedCalls(Table& table) {
  for (const TypedCall& row : TypedCalls()) {
    // With a result, or without one where it is to stay as it is.
    const auto calls = [row](const char* name, bool hasResult) {
      return [=](IQV_JavaVM& vm, FakeJni& jni) {
        uint64_t result = kUntouched;
        const std::string signature = SignatureOf(row);
        const int32_t status =
            Invoke(vm, row, {&result, jni.GivenClass("a/B"), jni.GivenObject("it"), name, signature.c_str()});
        EXPECT_TRUE(hasResult || result == kUntouched);
        return status;
      };
    };
    const char* const lookup = LookupOf(row);
    const End clean = {S_OK, kNoRecord, 0};
    const FaultRows lookupFaults =
        Null(lookup, 1, clean, kNothingPending) + Throws(lookup, 1, {E_FAIL, ErrorOf(lookup, -1001), 3});
    FaultRows faults = lookupFaults;
    if (CanGiveNull(row.jniCall)) faults = faults + Null(row.jniCall, 1, clean);
    if (CanThrow(row.jniCall)) {
      const RecordView thrown = ErrorOf(row.jniCall, -1001);
      faults = faults + Throws(row.jniCall, 1, {E_FAIL, thrown, 3}, CaptureOf("java.lang.Error", ToUtf8(thrown.text)));
    }
    table.push_back({.name = SlotName(row.slot),
                     .end = clean,
                     .log = Entered(row.slot) + LookupLine(row) + CallLine(row) + kNothingPending,
                     .faults = faults,
                     .prepare =
                         [](FakeVm& java, IQV_JavaVM&, SlotTable&) {
                           java.answers["m"] = [](FakeJni&, const Thing&, const std::vector<jvalue>&) {
                             return ValueOf(nullptr);
                           };
                         },
                     .call = calls("m", true)});

    const std::string error = row.form == Form::Field ? "java.lang.NoSuchFieldError" : "java.lang.NoSuchMethodError";
    const RecordView text = Record(ToWide(error + ": m"), -1001);
    table.push_back({.name = std::string(SlotName(row.slot)) + " of a missing member",
                     .end = {E_FAIL, text, 3},
                     .log = Entered(row.slot) + LookupLine(row) + CaptureOf(error, error + ": m"),
                     .faults = lookupFaults + CaptureFaults(1, HasObject(row) ? 2 : 1, text),
                     .prepare = [](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.missingMembers = {"m"}; },
                     .call = calls("m", false),
                     .withoutMemory = {{{E_FAIL, kNoRecord, 3}, {E_FAIL, kNoRecord, 3}}}});
    table.push_back({.name = std::string(SlotName(row.slot)) + " without a name",
                     .end = {E_FAIL, kInternalRecord, 0},
                     .log = Entered(row.slot),
                     .call = calls(nullptr, false),
                     .withoutMemory = {{{E_FAIL, kNoRecord, 0}, {E_FAIL, kNoRecord, 0}}}});
  }
}

void AddArrays(Table& table) {
  const auto thrown = [](const char* function) { return End{E_FAIL, ErrorOf(function, -1001), 3}; };
  table.push_back({.name = "NewStringArray",
                   .end = {S_OK, kNoRecord, 2},
                   .log = Entered(43) + DirectLookup("java/lang/String") + Entered(14) +
                          Lines{"NewString(\"\", 0)", "NewObjectArray(2, java/lang/String, \"\")"} + Deleted("\"\""),
                   .faults = Fails("FindClass", 1, {E_FAIL, NotFound("java/lang/String"), 0},
                                   {E_FAIL, ErrorOf("FindClass", 0), 3}) +
                             Bare("NewString", 1, {E_FAIL, kNoRecord, 1}, Lines{}) +
                             Bare("NewObjectArray", 1, {S_OK, kNoRecord, 1}, Deleted("\"\"")),
                   .call = Makes(43, 2)});
  table.push_back({.name = "SetObjectArrayElement",
                   .log = Entered(44) + Lines{"SetObjectArrayElement(array, 0, it)"} + kNothingPending,
                   .faults = Throws("SetObjectArrayElement", 1, thrown("SetObjectArrayElement")),
                   .call = Calls(44, kArray, 0, kObject)});
  const RecordView outside = Record(L"java.lang.ArrayIndexOutOfBoundsException: 1", -1001);
  table.push_back(
      {.name = "SetObjectArrayElement out of bounds",
       .end = {E_FAIL, outside, 3},
       .log = Entered(44) + Lines{"SetObjectArrayElement(array, 1, it)"} +
              CaptureOf("java.lang.ArrayIndexOutOfBoundsException", "java.lang.ArrayIndexOutOfBoundsException: 1"),
       .faults = Throws("SetObjectArrayElement", 1, thrown("SetObjectArrayElement")) + CaptureFaults(1, 1, outside),
       .call = Calls(44, kArray, 1, kObject),
       .withoutMemory = {{{E_FAIL, kNoRecord, 3}, {E_FAIL, kNoRecord, 3}}}});
  table.push_back(
      {.name = "NewByteArray",
       .end = {S_OK, kNoRecord, 1},
       .log = Entered(45) + Lines{"NewByteArray(2)"} + kNothingPending,
       .faults = Null("NewByteArray", 1, {S_OK, kNoRecord, 0}) + Throws("NewByteArray", 1, thrown("NewByteArray")),
       .call = [](IQV_JavaVM& vm, FakeJni&) {
         qv_jarray out = nullptr;
         return vm.NewByteArray(&out, 2);
       }});
  const FaultRows elements = Null("GetByteArrayElements", 1, {E_FAIL, kInternalRecord, 0}) +
                             Throws("GetByteArrayElements", 1, thrown("GetByteArrayElements"));
  static jbyte bytes[2];
  table.push_back({.name = "GetByteArrayData",
                   .log = Elements(46, JNI_ABORT),
                   .faults = elements,
                   .call = Calls(46, kBytes, 3, 2, &bytes[0])});
  table.push_back({.name = "SetByteArrayData",
                   .log = Elements(47, 0),
                   .faults = elements,
                   .call = Calls(47, kBytes, 3, &bytes[0], 2)});
}

void AddQueries(Table& table) {
  table.push_back(
      {.name = "GetJNIEnv", .log = Entered(48) + Lines{"ExceptionCheck()"}, .call = [](IQV_JavaVM& vm, FakeJni& jni) {
         qv_jnienv env = &vm;
         const int32_t status = vm.GetJNIEnv(&env);
         EXPECT_EQ(env, status >= 0 ? &jni : nullptr);
         return status;
       }});
  struct Query {
    size_t slot;
    const char* key;
  };
  for (const Query& query : {Query{55, "java.class.path"}, {56, "java.version"}}) {
    const std::string key = std::string("\"").append(query.key).append("\"");
    const End noMemory = {E_OUTOFMEMORY, kNoRecord, 3};
    table.push_back(
        {.name = SlotName(query.slot),
         .end = {S_OK, kNoRecord, 3},
         // the class, the key and the value
         .log = Lines{SlotLine(query.slot)} + DirectLookup("java/lang/System") + Entered(14) +
                Lines{"NewString(" + key + ", " + std::to_string(key.size() - 2) + ")"} + Entered(39) +
                Lines{"GetStaticMethodID(java/lang/System, \"getProperty\", "
                      "\"(Ljava/lang/String;)Ljava/lang/String;\")",
                      "CallStaticObjectMethodV(java/lang/System, getProperty(Ljava/lang/String;)Ljava/lang/String;, " +
                          key + ")"} +
                kNothingPending + Entered(17) + CharactersOf("\"value\""),
         .faults =
             Fails("FindClass", 1, {E_FAIL, NotFound("java/lang/System"), 0}, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
             Bare("NewString", 1, {E_FAIL, kNoRecord, 1}, Lines{}) +
             Fails("GetStaticMethodID", 1, {E_FAIL, kNoRecord, 2}, {E_FAIL, ErrorOf("GetStaticMethodID", -1001), 5}) +
             Fails("CallStaticObjectMethodV", 1, {E_FAIL, kNoRecord, 2},
                   {E_FAIL, ErrorOf("CallStaticObjectMethodV", -1001), 6}) +
             Bare("GetStringChars", 1, {E_FAIL, kNoRecord, 3}, Lines{"ReleaseStringChars(\"value\", null)"}),
         .prepare = [query](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.properties[ToWide(query.key)] = L"value"; },
         .call = MakesText(query.slot, L"value"),
         .withoutMemory = {{noMemory, noMemory}}});
  }
}

void AddCapture(Table& table) {
  // Into the object's own record, as the operations do it; 1 says that there was something.
  const auto add = [&](const char* name, const std::wstring& thrown, const RecordView& text, bool copied) {
    FaultRows faults = CaptureFaults(1, 1, text, 1);
    // A text that does not fit is cut by another function than the one that copies it whole.
    if (!copied)
      std::erase_if(faults, [](const FaultRow& row) { return std::string(row.function) == "GetStringChars"; });
    table.push_back({.name = name,
                     .end = {1, text, 3},
                     .log = copied ? CaptureOf("exception", ToUtf8(thrown)) : Lines{},
                     .faults = faults,
                     .prepare = [thrown](FakeVm& java, IQV_JavaVM&,
                                         SlotTable&) { java.Here().SetPending(Throwable("exception", thrown)); },
                     .call =
                         [](IQV_JavaVM& vm, FakeJni& jni) {
                           auto& object = static_cast<CQV_JNIVMManager&>(vm);
                           return vm.CaptureException(object.RecordSlot(), &jni);
                         },
                     .withoutMemory = {{{1, kNoRecord, 3}, {1, kNoRecord, 3}}}});
  };
  const std::wstring text = L"java.lang.Error: from before";
  add("CaptureException", text, Record(text, 0), true);
  const std::wstring longText(2000, L'x');
  add("CaptureException of a long text", longText, Record(longText.substr(0, 511), 0), false);
}

}  // namespace

std::vector<Operation> Operations() {
  Table table;
  AddReferencesAndStrings(table);
  AddConstruction(table);
  AddClassLookup(table);
  AddTypedCalls(table);
  AddArrays(table);
  AddQueries(table);
  AddCapture(table);
  return table;
}

}  // namespace qvtest
