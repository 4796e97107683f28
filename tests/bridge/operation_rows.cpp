// The rows. What a failing call leads to was worked out from the rules of each operation, step by step.
#include "tests/bridge/operation_rows.h"

#include <type_traits>
#include <utility>

#include "tests/bridge/typed_call_rows.h"
#include "tests/support/slot_call.h"

namespace qvtest {

namespace {

FaultRows Null(const char* function, int n, const End& end) { return {{function, n, Fault::Null, end}}; }
FaultRows Throws(const char* function, int n, const End& end) { return {{function, n, Fault::Throw, end}}; }
FaultRows Both(const char* function, int n, const End& end) {
  return Null(function, n, end) + Throws(function, n, end);
}

const RecordView kInternalRecord = Record(kInternal, -1001);
RecordView ErrorOf(const std::string& function, int32_t code) {
  return Record(L"java.lang.Error: " + ToWide(function), code);
}
RecordView NotFound(const std::string& name) {
  return Record(L"Unable to find java " + ToWide(name) + L" class. Check CLASSPATH.", 0);
}

// The calls of a capture in a created JVM, the n-th of their functions; `before` references stay besides its own.
FaultRows CaptureFaults(int findClass, int getMethodId, int before, const RecordView& text) {
  const RecordView unknown = Record(kUnknown, text.code);
  return Null("FindClass", findClass, {E_FAIL, unknown, before + 1}) +
         Throws("FindClass", findClass, {E_FAIL, unknown, before + 2}) +
         Both("GetMethodID", getMethodId, {E_FAIL, unknown, before + 2}) +
         Null("CallObjectMethod", 1, {E_FAIL, unknown, before + 2}) +
         Throws("CallObjectMethod", 1, {E_FAIL, text, before + 3}) +
         Both("GetStringChars", 1, {E_FAIL, unknown, before + 3});
}

using Table = std::vector<Operation>;
using Call = std::function<int32_t(IQV_JavaVM&, FakeJni&)>;

// A new row, which says what differs from an operation that succeeds in a joined JVM and leaves nothing.
class Row {
 public:
  Row(Table& table, const std::string& name) : m_row(table.emplace_back()) { m_row.name = name; }
  Row& Created() {
    m_row.created = true;
    return *this;
  }
  Row& Ends(const End& end) {
    m_row.end = end;
    return *this;
  }
  Row& Logs(const Lines& log) {
    m_row.log = log;
    return *this;
  }
  Row& Faults(const FaultRows& faults) {
    m_row.faults = faults;
    return *this;
  }
  Row& Prepares(decltype(Operation::prepare) prepare) {
    m_row.prepare = std::move(prepare);
    return *this;
  }
  Row& Runs(Call call) {
    m_row.call = std::move(call);
    return *this;
  }
  Row& WithoutMemory(const std::vector<qvtest::WithoutMemory>& rows) {
    m_row.withoutMemory = rows;
    return *this;
  }

 private:
  Operation& m_row;
};

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
    EXPECT_NE(out, &out) << "the out value was not set";
    EXPECT_TRUE(status >= 0 || out == nullptr) << "a value of a failed operation";
    return status;
  };
}

// The same with a text object, which goes.
template <class... Arguments>
Call MakesText(size_t slot, Arguments... arguments) {
  return [=](IQV_JavaVM& vm, FakeJni& jni) {
    auto* out = reinterpret_cast<IQvString*>(&jni);
    const auto status = CallSlot<int32_t>(&vm, slot, &out, Given(jni, arguments)...);
    EXPECT_EQ(out != nullptr, status >= 0);
    if (out != nullptr) out->Release();
    return status;
  };
}

// -- the table --

void AddReferencesAndStrings(Table& table) {
  const End fails = {E_FAIL, kNoRecord, 0};
  const End noMemory = {E_OUTOFMEMORY, kNoRecord, 0};
  Row(table, "CastReference").Logs({SlotLine(7)}).Runs(Makes(7, kObject));
  for (const size_t slot : {8u, 9u, 10u}) {
    Row(table, SlotName(slot))
        .Ends({S_OK, kNoRecord, -1})
        .Logs(Entered(slot) + Lines{"DeleteLocalRef(it)"})
        .Runs(Calls(slot, kObject));
  }
  Row(table, "DeleteGlobalRef")
      .Ends({S_OK, kNoRecord, 0, -1})
      .Logs(Entered(11) + Lines{"DeleteGlobalRef(global it)"})
      .Runs(Calls(11, [](FakeJni& jni) { return jni.Vm().Make(nullptr, Object("it"), false); }));
  Row(table, "NewGlobalRef")
      .Ends({S_OK, kNoRecord, 0, 1})
      .Logs(Entered(13) + Lines{"NewGlobalRef(it)"})
      .Faults(Both("NewGlobalRef", 1, fails))
      .Runs(Makes(13, kObject));
  Row(table, "NewString")
      .Ends({S_OK, kNoRecord, 1})
      .Logs(Entered(14) + Lines{"NewString(\"x\", 1)"})
      .Faults(Both("NewString", 1, fails))
      .Runs(Makes(14, L"x"));
  Row(table, "GetStringLength")
      .Logs(Entered(15) + Lines{"GetStringLength(\"x\")"})
      .Runs([](IQV_JavaVM& vm, FakeJni& jni) {
        int32_t length = 0;
        return vm.GetStringLength(&length, jni.GivenString(L"x"));
      });
  Row(table, "GetStringChars")
      .Logs(Entered(16) + Entered(15) + CharactersOf("\"x\""))
      .Faults(Both("GetStringChars", 1, fails))
      .Runs([](IQV_JavaVM& vm, FakeJni& jni) {
        wchar_t buffer[16];
        return vm.GetStringChars(buffer, nullptr, jni.GivenString(L"x"));
      });
  Row(table, "GetStringValue")
      .Logs(Entered(17) + CharactersOf("\"x\""))
      .Faults(Both("GetStringChars", 1, fails))
      .Runs(MakesText(17, kString))
      .WithoutMemory({{noMemory, noMemory}});
  Row(table, "GetStringValue of a long text")
      .Logs(Entered(17) + CharactersOf("\"xxxxxxxx...\"[1000]"))
      .Faults(Both("GetStringChars", 1, fails))
      .Runs(MakesText(17, kLongString))
      // the copy of the characters, the string object
      .WithoutMemory({{noMemory, noMemory}, {noMemory, noMemory}});
}

void AddConstruction(Table& table) {
  const End fails = {E_FAIL, kNoRecord, 0};
  const End nothingMade = {S_OK, kNoRecord, 0};
  Row(table, "NewObject")
      .Ends({S_OK, kNoRecord, 1})
      .Logs(Entered(18) + Lines{"GetMethodID(a/B, \"<init>\", \"(Ljava/lang/String;)V\")",
                                "NewObjectV(a/B, <init>(Ljava/lang/String;)V, \"x\")"})
      .Faults(Both("GetMethodID", 1, fails) + Both("NewObjectV", 1, nothingMade))
      .Runs(Makes(18, kClass, "(Ljava/lang/String;)", kString));
  Row(table, "NewDefaultObject")
      .Ends({S_OK, kNoRecord, 1})
      .Logs(Entered(19) + Lines{"GetMethodID(a/B, \"<init>\", \"()V\")", "NewObject(a/B, <init>()V)"})
      .Faults(Both("GetMethodID", 1, fails) + Both("NewObject", 1, nothingMade))
      .Runs(Makes(19, kClass));
}

int32_t FindSuchClass(IQV_JavaVM& vm, FakeJni&) {
  qv_jclass out = nullptr;
  const int32_t status = vm.FindClass(&out, "a/B");
  EXPECT_EQ(out != nullptr, status >= 0);
  return status;
}

int32_t ClassPathA(void*, IQvString** text) { return QvshrCreateString(L"a", text); }

void AddClassLookup(Table& table) {
  const RecordView noClassDef = Record(L"java.lang.NoClassDefFoundError: a/B", 0);
  const RecordView classNotFound = Record(L"java.lang.ClassNotFoundException: a.B", -1001);
  const End notFound = {E_FAIL, NotFound("a/B"), 0};
  Row(table, "FindClass, known")
      .Created()
      .Ends({S_OK, kNoRecord, 1})
      .Logs(DirectLookup("a/B"))
      .Faults(Null("FindClass", 1, notFound) + Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}))
      .Prepares([](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.classes.insert("a/B"); })
      .Runs(FindSuchClass);
  Row(table, "FindClass, unknown in a created JVM")
      .Created()
      .Ends({E_FAIL, noClassDef, 3})
      .Logs(DirectLookup("a/B") + CaptureOf("java.lang.NoClassDefFoundError", "java.lang.NoClassDefFoundError: a/B"))
      .Faults(Null("FindClass", 1, notFound) + Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
              CaptureFaults(2, 1, 0, noClassDef))
      .Runs(FindSuchClass)
      .WithoutMemory({{{E_FAIL, NotFound("a/B"), 3}, {E_FAIL, kNoRecord, 3}}});

  // A joined JVM whose first unknown class makes the loader. Three classes stay from the build, one from the load.
  const auto found = [](const RecordView& record, int locals) { return End{S_OK, record, locals, 1}; };
  const End clean = found(kNoRecord, 5);
  const End noLoader = {E_FAIL, kInternalRecord, 4};
  Row(table, "FindClass, loaded in a joined JVM by a new loader")
      .Ends(clean)
      .Faults(Both("FindClass", 1, clean)  // the JVM's own look-up
              + Null("FindClass", 2, notFound) + Throws("FindClass", 2, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
              Null("FindClass", 3, {E_FAIL, NotFound("a/B"), 1}) +
              Throws("FindClass", 3, {E_FAIL, ErrorOf("FindClass", 0), 4}) +
              Null("FindClass", 4, {E_FAIL, NotFound("a/B"), 2}) +
              Throws("FindClass", 4, {E_FAIL, ErrorOf("FindClass", 0), 5}) +
              Both("NewObjectArray", 1, noLoader)
              // the path: its place stays empty; what nobody captured comes up when the class is loaded
              + Null("NewString", 1, clean) + Throws("NewString", 1, found(ErrorOf("NewString", -1001), 8)) +
              Null("GetMethodID", 1, clean) + Throws("GetMethodID", 1, found(ErrorOf("GetMethodID", -1001), 8)) +
              Null("NewObjectV", 1, clean) + Throws("NewObjectV", 1, found(ErrorOf("NewObjectV", -1001), 8)) +
              Null("GetMethodID", 2, clean) + Throws("GetMethodID", 2, found(kNoRecord, 8)) +
              Null("CallObjectMethodV", 1, clean) + Throws("CallObjectMethodV", 1, found(kNoRecord, 8)) +
              Throws("SetObjectArrayElement", 1, found(ErrorOf("SetObjectArrayElement", -1001), 8))
              // the loader
              + Both("GetMethodID", 3, noLoader) + Both("NewObjectV", 2, noLoader) +
              Both("NewGlobalRef", 1, noLoader)
              // the class
              + Null("NewString", 2, {E_FAIL, NotFound("a/B"), 3, 1}) +
              Throws("NewString", 2, {E_FAIL, ErrorOf("NewString", 0), 6, 1}) +
              Both("FindClass", 5, {E_FAIL, kInternalRecord, 3, 1}) +
              Null("GetMethodID", 4, {E_FAIL, NotFound("a/B"), 4, 1}) +
              Throws("GetMethodID", 4, {E_FAIL, ErrorOf("GetMethodID", -1001), 7, 1}) +
              Null("CallObjectMethodV", 2, {E_FAIL, NotFound("a/B"), 4, 1}) +
              Throws("CallObjectMethodV", 2, found(ErrorOf("CallObjectMethodV", -1001), 8)))
      .Prepares([](FakeVm& java, IQV_JavaVM&, SlotTable& slots) {
        java.loaderClasses = {"a.B"};
        slots.Replace(55, ClassPathA);
      })
      .Runs(FindSuchClass)
      .WithoutMemory(  // the class path's string object, the copy of its text, the name of the class
          {{{E_FAIL, NotFound("a/B"), 3, 0}, {E_FAIL, kNoRecord, 3, 0}},
           {{E_FAIL, NotFound("a/B"), 3, 0}, {E_FAIL, kNoRecord, 3, 0}},
           {{E_FAIL, NotFound("a/B"), 3, 1}, {E_FAIL, kNoRecord, 3, 1}}});

  // The loader is there and does not know the class.
  const RecordView unknown = Record(kUnknown, -1001);
  const End clean2 = {E_FAIL, classNotFound, 4};
  Row(table, "FindClass, unknown in a joined JVM with a loader")
      .Ends(clean2)
      .Faults(
          Both("FindClass", 1, clean2) + Null("NewString", 1, notFound) +
          Throws("NewString", 1, {E_FAIL, ErrorOf("NewString", 0), 3}) +
          Both("FindClass", 2, {E_FAIL, kInternalRecord, 0}) + Null("GetMethodID", 1, {E_FAIL, NotFound("a/B"), 1}) +
          Throws("GetMethodID", 1, {E_FAIL, ErrorOf("GetMethodID", -1001), 4}) +
          Null("CallObjectMethodV", 1, {E_FAIL, NotFound("a/B"), 1}) +
          Throws("CallObjectMethodV", 1, {E_FAIL, ErrorOf("CallObjectMethodV", -1001), 4})
          // the capture; its own look-up asks the loader as well
          + Both("FindClass", 3, {E_FAIL, unknown, 4}) + Both("GetMethodID", 2, {E_FAIL, unknown, 3}) +
          Null("CallObjectMethod", 1, {E_FAIL, unknown, 3}) +
          Throws("CallObjectMethod", 1, {E_FAIL, classNotFound, 4}) + Both("GetStringChars", 1, {E_FAIL, unknown, 4}))
      .Prepares([](FakeVm& java, IQV_JavaVM& vm, SlotTable& slots) {
        java.loaderClasses = {"first.One"};
        slots.Replace(55, ClassPathA);
        qv_jclass first = nullptr;
        EXPECT_EQ(vm.FindClass(&first, "first/One"), S_OK);
      })
      .Runs(FindSuchClass)
      .WithoutMemory(  // the name of the class, the record of the exception
          {{{E_FAIL, NotFound("a/B"), 0}, {E_FAIL, kNoRecord, 0}},
           {{E_FAIL, NotFound("a/B"), 4}, {E_FAIL, kNoRecord, 4}}});
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
    FaultRows faults = Null(lookup, 1, clean) + Throws(lookup, 1, {E_FAIL, ErrorOf(lookup, -1001), 3});
    const FaultRows lookupFaults = faults;
    if (CanGiveNull(row.jniCall)) faults = faults + Null(row.jniCall, 1, clean);
    if (CanThrow(row.jniCall)) {
      faults = faults + Throws(row.jniCall, 1, {E_FAIL, ErrorOf(row.jniCall, -1001), 3});
    }
    Row(table, SlotName(row.slot))
        .Created()
        .Ends(clean)
        .Logs(Entered(row.slot) + LookupLine(row) + CallLine(row) + kNothingPending)
        .Faults(faults)
        .Prepares([](FakeVm& java, IQV_JavaVM&, SlotTable&) {
          java.answers["m"] = [](FakeJni&, const Thing&, const std::vector<jvalue>&) { return ValueOf(nullptr); };
        })
        .Runs(calls("m", true));

    const std::string error = row.form == Form::Field ? "java.lang.NoSuchFieldError" : "java.lang.NoSuchMethodError";
    const RecordView text = Record(ToWide(error + ": m"), -1001);
    Row(table, std::string(SlotName(row.slot)) + " of a missing member")
        .Created()
        .Ends({E_FAIL, text, 3})
        .Logs(Entered(row.slot) + LookupLine(row) + CaptureOf(error, error + ": m"))
        .Faults(lookupFaults + CaptureFaults(1, HasObject(row) ? 2 : 1, 0, text))
        .Prepares([](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.missingMembers = {"m"}; })
        .Runs(calls("m", false))
        .WithoutMemory({{{E_FAIL, kNoRecord, 3}, {E_FAIL, kNoRecord, 3}}});
    Row(table, std::string(SlotName(row.slot)) + " without a name")
        .Created()
        .Ends({E_FAIL, kInternalRecord, 0})
        .Logs(Entered(row.slot))
        .Runs(calls(nullptr, false))
        .WithoutMemory({{{E_FAIL, kNoRecord, 0}, {E_FAIL, kNoRecord, 0}}});
  }
}

void AddArrays(Table& table) {
  const auto thrown = [](const char* function) { return End{E_FAIL, ErrorOf(function, -1001), 3}; };
  Row(table, "NewStringArray")
      .Created()
      .Ends({S_OK, kNoRecord, 2})
      .Logs(Entered(43) + DirectLookup("java/lang/String") + Entered(14) +
            Lines{"NewString(\"\", 0)", "NewObjectArray(2, java/lang/String, \"\")"} + Deleted("\"\""))
      .Faults(Null("FindClass", 1, {E_FAIL, NotFound("java/lang/String"), 0}) +
              Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
              Both("NewString", 1, {E_FAIL, kNoRecord, 1}) + Both("NewObjectArray", 1, {S_OK, kNoRecord, 1}))
      .Runs(Makes(43, 2));
  Row(table, "SetObjectArrayElement")
      .Created()
      .Logs(Entered(44) + Lines{"SetObjectArrayElement(array, 0, it)"} + kNothingPending)
      .Faults(Throws("SetObjectArrayElement", 1, thrown("SetObjectArrayElement")))
      .Runs(Calls(44, kArray, 0, kObject));
  const RecordView outside = Record(L"java.lang.ArrayIndexOutOfBoundsException: 1", -1001);
  Row(table, "SetObjectArrayElement out of bounds")
      .Created()
      .Ends({E_FAIL, outside, 3})
      .Logs(Entered(44) + Lines{"SetObjectArrayElement(array, 1, it)"} +
            CaptureOf("java.lang.ArrayIndexOutOfBoundsException", "java.lang.ArrayIndexOutOfBoundsException: 1"))
      .Faults(Throws("SetObjectArrayElement", 1, thrown("SetObjectArrayElement")) + CaptureFaults(1, 1, 0, outside))
      .Runs(Calls(44, kArray, 1, kObject))
      .WithoutMemory({{{E_FAIL, kNoRecord, 3}, {E_FAIL, kNoRecord, 3}}});
  Row(table, "NewByteArray")
      .Created()
      .Ends({S_OK, kNoRecord, 1})
      .Logs(Entered(45) + Lines{"NewByteArray(2)"} + kNothingPending)
      .Faults(Null("NewByteArray", 1, {S_OK, kNoRecord, 0}) + Throws("NewByteArray", 1, thrown("NewByteArray")))
      .Runs([](IQV_JavaVM& vm, FakeJni&) {
        qv_jarray out = nullptr;
        return vm.NewByteArray(&out, 2);
      });
  const FaultRows elements = Null("GetByteArrayElements", 1, {E_FAIL, kInternalRecord, 0}) +
                             Throws("GetByteArrayElements", 1, thrown("GetByteArrayElements"));
  static jbyte bytes[2];
  Row(table, "GetByteArrayData")
      .Created()
      .Logs(Elements(46, JNI_ABORT))
      .Faults(elements)
      .Runs(Calls(46, kBytes, 3, 2, &bytes[0]));
  Row(table, "SetByteArrayData")
      .Created()
      .Logs(Elements(47, 0))
      .Faults(elements)
      .Runs(Calls(47, kBytes, 3, &bytes[0], 2));
}

void AddQueries(Table& table) {
  Row(table, "GetJNIEnv").Created().Logs(Entered(48) + Lines{"ExceptionCheck()"}).Runs(Makes(48));
  struct Query {
    size_t slot;
    const char* key;
  };
  for (const Query& query : {Query{55, "java.class.path"}, {56, "java.version"}}) {
    const std::string key = std::string("\"").append(query.key).append("\"");
    const End failed = {E_FAIL, kNoRecord, 3};
    const End noMemory = {E_OUTOFMEMORY, kNoRecord, 3};
    Row(table, SlotName(query.slot))
        .Created()
        .Ends({S_OK, kNoRecord, 3})
        // the class, the key and the value
        .Logs(Lines{SlotLine(query.slot)} + DirectLookup("java/lang/System") + Entered(14) +
              Lines{"NewString(" + key + ", " + std::to_string(key.size() - 2) + ")"} + Entered(39) +
              Lines{"GetStaticMethodID(java/lang/System, \"getProperty\", "
                    "\"(Ljava/lang/String;)Ljava/lang/String;\")",
                    "CallStaticObjectMethodV(java/lang/System, getProperty(Ljava/lang/String;)Ljava/lang/String;, " +
                        key + ")"} +
              kNothingPending + Entered(17) + CharactersOf("\"value\""))
        .Faults(Null("FindClass", 1, {E_FAIL, NotFound("java/lang/System"), 0}) +
                Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
                Both("NewString", 1, {E_FAIL, kNoRecord, 1}) + Null("GetStaticMethodID", 1, {E_FAIL, kNoRecord, 2}) +
                Throws("GetStaticMethodID", 1, {E_FAIL, ErrorOf("GetStaticMethodID", -1001), 5}) +
                Null("CallStaticObjectMethodV", 1, {E_FAIL, kNoRecord, 2}) +
                Throws("CallStaticObjectMethodV", 1, {E_FAIL, ErrorOf("CallStaticObjectMethodV", -1001), 6}) +
                Both("GetStringChars", 1, failed))
        .Prepares([query](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.properties[ToWide(query.key)] = L"value"; })
        .Runs(MakesText(query.slot))
        .WithoutMemory({{noMemory, noMemory}});
  }
}

void AddCapture(Table& table) {
  // Into the object's own record, as the operations do it; 1 says that there was something.
  const auto add = [&](const char* name, const std::wstring& thrown, const RecordView& text, bool copied) {
    FaultRows faults = CaptureFaults(1, 1, 0, text);
    for (FaultRow& row : faults) row.end.status = 1;
    // A text that does not fit is cut by another function than the one that copies it whole.
    if (!copied)
      std::erase_if(faults, [](const FaultRow& row) { return std::string(row.function) == "GetStringChars"; });
    Row(table, name)
        .Created()
        .Ends({1, text, 3})
        .Logs(copied ? CaptureOf("exception", ToUtf8(thrown)) : Lines{})
        .Faults(faults)
        .Prepares(
            [thrown](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.Here().SetPending(Throwable("exception", thrown)); })
        .Runs([](IQV_JavaVM& vm, FakeJni& jni) {
          auto& object = static_cast<CQV_JNIVMManager&>(vm);
          return vm.CaptureException(object.RecordSlot(), &jni);
        })
        .WithoutMemory({{{1, kNoRecord, 3}, {1, kNoRecord, 3}}});
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
