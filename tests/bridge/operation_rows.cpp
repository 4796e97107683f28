// The rows. What a failing call leads to was worked out from the rules of each operation, step by step.
#include "tests/bridge/operation_rows.h"

#include <utility>

#include "tests/bridge/typed_call_rows.h"

namespace qvtest {

namespace {

FaultRows operator+(FaultRows left, const FaultRows& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}
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

using Prepare = std::function<void(FakeVm&, IQV_JavaVM&, SlotTable&)>;
using Call = std::function<int32_t(IQV_JavaVM&, FakeJni&)>;

void NoPreparation(FakeVm&, IQV_JavaVM&, SlotTable&) {}

class Table {
 public:
  void Add(const std::string& name, bool created, const End& end, const FaultRows& faults, const Prepare& prepare,
           const Call& call, const std::vector<WithoutMemory>& withoutMemory = {}) {
    Operation row;
    row.name = name;
    row.created = created;
    row.end = end;
    row.faults = faults;
    row.prepare = prepare;
    row.call = call;
    row.withoutMemory = withoutMemory;
    m_rows.push_back(std::move(row));
  }
  [[nodiscard]] std::vector<Operation> Rows() const { return m_rows; }

 private:
  std::vector<Operation> m_rows;
};

// -- the table --

void AddReferencesAndStrings(Table& table) {
  const End fails = {E_FAIL, kNoRecord, 0};
  table.Add("CastReference", false, {S_OK, kNoRecord, 0}, {}, NoPreparation, [](IQV_JavaVM& vm, FakeJni& jni) {
    qv_jobject out = nullptr;
    return vm.CastReference(&out, jni.GivenObject("it"));
  });
  table.Add("DeleteLocalRef", false, {S_OK, kNoRecord, -1}, {}, NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteLocalRef(jni.GivenObject("it")); });
  table.Add("DeleteLocalRef2", false, {S_OK, kNoRecord, -1}, {}, NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteLocalRef2(jni.GivenObject("it")); });
  table.Add("DeleteLocalRef3", false, {S_OK, kNoRecord, -1}, {}, NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteLocalRef3(jni.GivenObject("it")); });
  table.Add("DeleteGlobalRef", false, {S_OK, kNoRecord, 0, -1}, {}, NoPreparation, [](IQV_JavaVM& vm, FakeJni& jni) {
    return vm.DeleteGlobalRef(jni.Vm().Make(nullptr, Object("it"), false));
  });
  table.Add("NewGlobalRef", false, {S_OK, kNoRecord, 0, 1}, Both("NewGlobalRef", 1, fails), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              qv_jobject out = nullptr;
              return vm.NewGlobalRef(&out, jni.GivenObject("it"));
            });
  table.Add("NewString", false, {S_OK, kNoRecord, 1}, Both("NewString", 1, fails), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni&) {
              qv_jstring out = nullptr;
              return vm.NewString(&out, L"x");
            });
  table.Add("GetStringLength", false, {S_OK, kNoRecord, 0}, {}, NoPreparation, [](IQV_JavaVM& vm, FakeJni& jni) {
    int32_t length = 0;
    return vm.GetStringLength(&length, jni.GivenString(L"x"));
  });
  table.Add("GetStringChars", false, {S_OK, kNoRecord, 0}, Both("GetStringChars", 1, fails), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              wchar_t buffer[16];
              return vm.GetStringChars(buffer, nullptr, jni.GivenString(L"x"));
            });
  table.Add("GetStringValue", false, {S_OK, kNoRecord, 0}, Both("GetStringChars", 1, fails), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              IQvString* text = nullptr;
              const int32_t status = vm.GetStringValue(&text, jni.GivenString(L"x"));
              if (text != nullptr) text->Release();
              return status;
            },
            {{{E_OUTOFMEMORY, kNoRecord, 0}, {E_OUTOFMEMORY, kNoRecord, 0}}});
  table.Add("GetStringValue of a long text", false, {S_OK, kNoRecord, 0}, Both("GetStringChars", 1, fails),
            NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              IQvString* text = nullptr;
              const int32_t status = vm.GetStringValue(&text, jni.GivenString(std::wstring(1000, L'x')));
              if (text != nullptr) text->Release();
              return status;
            },
            // the copy of the characters, the string object
            {{{E_OUTOFMEMORY, kNoRecord, 0}, {E_OUTOFMEMORY, kNoRecord, 0}},
             {{E_OUTOFMEMORY, kNoRecord, 0}, {E_OUTOFMEMORY, kNoRecord, 0}}});
}

void AddConstruction(Table& table) {
  const End fails = {E_FAIL, kNoRecord, 0};
  const End nothingMade = {S_OK, kNoRecord, 0};
  table.Add("NewObject", false, {S_OK, kNoRecord, 1},
            Both("GetMethodID", 1, fails) + Both("NewObjectV", 1, nothingMade), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              qv_jobject out = nullptr;
              return vm.NewObject(&out, jni.GivenClass("a/B"), "(I)", 1);
            });
  table.Add("NewDefaultObject", false, {S_OK, kNoRecord, 1},
            Both("GetMethodID", 1, fails) + Both("NewObject", 1, nothingMade), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              qv_jobject out = nullptr;
              return vm.NewDefaultObject(&out, jni.GivenClass("a/B"));
            });
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
  table.Add(
      "FindClass, known", true, {S_OK, kNoRecord, 1},
      Null("FindClass", 1, notFound) + Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}),
      [](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.classes.insert("a/B"); }, FindSuchClass);
  table.Add("FindClass, unknown in a created JVM", true, {E_FAIL, noClassDef, 3},
            Null("FindClass", 1, notFound) + Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
                CaptureFaults(2, 1, 0, noClassDef),
            NoPreparation, FindSuchClass, {{{E_FAIL, NotFound("a/B"), 3}, {E_FAIL, kNoRecord, 3}}});

  // A joined JVM whose first unknown class makes the loader. Three classes stay from the build, one from the load.
  const auto found = [](const RecordView& record, int locals) { return End{S_OK, record, locals, 1}; };
  const End clean = found(kNoRecord, 5);
  const End noLoader = {E_FAIL, kInternalRecord, 4};
  table.Add("FindClass, loaded in a joined JVM by a new loader", false, clean,
            Both("FindClass", 1, clean)  // the JVM's own look-up
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
                Throws("CallObjectMethodV", 2, found(ErrorOf("CallObjectMethodV", -1001), 8)),
            [](FakeVm& java, IQV_JavaVM&, SlotTable& slots) {
              java.loaderClasses = {"a.B"};
              slots.Replace(55, ClassPathA);
            },
            FindSuchClass,
            // the class path's string object, the copy of its text, the name of the class
            {{{E_FAIL, NotFound("a/B"), 3, 0}, {E_FAIL, kNoRecord, 3, 0}},
             {{E_FAIL, NotFound("a/B"), 3, 0}, {E_FAIL, kNoRecord, 3, 0}},
             {{E_FAIL, NotFound("a/B"), 3, 1}, {E_FAIL, kNoRecord, 3, 1}}});

  // The loader is there and does not know the class.
  const RecordView unknown = Record(kUnknown, -1001);
  const End clean2 = {E_FAIL, classNotFound, 4};
  table.Add(
      "FindClass, unknown in a joined JVM with a loader", false, clean2,
      Both("FindClass", 1, clean2) + Null("NewString", 1, notFound) +
          Throws("NewString", 1, {E_FAIL, ErrorOf("NewString", 0), 3}) +
          Both("FindClass", 2, {E_FAIL, kInternalRecord, 0}) + Null("GetMethodID", 1, {E_FAIL, NotFound("a/B"), 1}) +
          Throws("GetMethodID", 1, {E_FAIL, ErrorOf("GetMethodID", -1001), 4}) +
          Null("CallObjectMethodV", 1, {E_FAIL, NotFound("a/B"), 1}) +
          Throws("CallObjectMethodV", 1, {E_FAIL, ErrorOf("CallObjectMethodV", -1001), 4})
          // the capture; its own look-up asks the loader as well
          + Both("FindClass", 3, {E_FAIL, unknown, 4}) + Both("GetMethodID", 2, {E_FAIL, unknown, 3}) +
          Null("CallObjectMethod", 1, {E_FAIL, unknown, 3}) +
          Throws("CallObjectMethod", 1, {E_FAIL, classNotFound, 4}) + Both("GetStringChars", 1, {E_FAIL, unknown, 4}),
      [](FakeVm& java, IQV_JavaVM& vm, SlotTable& slots) {
        java.loaderClasses = {"first.One"};
        slots.Replace(55, ClassPathA);
        qv_jclass first = nullptr;
        EXPECT_EQ(vm.FindClass(&first, "first/One"), S_OK);
      },
      FindSuchClass,
      // the name of the class, the record of the exception
      {{{E_FAIL, NotFound("a/B"), 0}, {E_FAIL, kNoRecord, 0}}, {{E_FAIL, NotFound("a/B"), 4}, {E_FAIL, kNoRecord, 4}}});
}

void AddTypedCalls(Table& table) {
  for (const TypedCall& row : TypedCalls()) {
    const auto call = [row](IQV_JavaVM& vm, FakeJni& jni) {
      uint64_t result = 0;
      const std::string signature = SignatureOf(row);
      return Invoke(vm, row, {&result, jni.GivenClass("a/B"), jni.GivenObject("it"), "m", signature.c_str()});
    };
    const char* const lookup = LookupOf(row);
    const End clean = {S_OK, kNoRecord, 0};
    FaultRows faults = Null(lookup, 1, clean) + Throws(lookup, 1, {E_FAIL, ErrorOf(lookup, -1001), 3});
    const FaultRows lookupFaults = faults;
    if (CanGiveNull(row.jniCall)) faults = faults + Null(row.jniCall, 1, clean);
    if (CanThrow(row.jniCall)) {
      faults = faults + Throws(row.jniCall, 1, {E_FAIL, ErrorOf(row.jniCall, -1001), 3});
    }
    table.Add(
        SlotName(row.slot), true, clean, faults,
        [](FakeVm& java, IQV_JavaVM&, SlotTable&) {
          java.answers["m"] = [](FakeJni&, const Thing&, const std::vector<jvalue>&) { return ValueOf(nullptr); };
        },
        call);

    const wchar_t* const error =
        row.form == Form::Field ? L"java.lang.NoSuchFieldError: m" : L"java.lang.NoSuchMethodError: m";
    const RecordView text = Record(error, -1001);
    table.Add(std::string(SlotName(row.slot)) + " of a missing member", true, {E_FAIL, text, 3},
              lookupFaults + CaptureFaults(1, HasObject(row) ? 2 : 1, 0, text),
              [](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.missingMembers = {"m"}; }, call,
              {{{E_FAIL, kNoRecord, 3}, {E_FAIL, kNoRecord, 3}}});
    table.Add(std::string(SlotName(row.slot)) + " without a name", true, {E_FAIL, kInternalRecord, 0}, {},
              NoPreparation,
              [row](IQV_JavaVM& vm, FakeJni& jni) {
                uint64_t result = 0;
                return Invoke(vm, row, {&result, jni.GivenClass("a/B"), jni.GivenObject("it"), nullptr, "()V"});
              },
              {{{E_FAIL, kNoRecord, 0}, {E_FAIL, kNoRecord, 0}}});
  }
}

void AddArrays(Table& table) {
  const auto thrown = [](const char* function) { return End{E_FAIL, ErrorOf(function, -1001), 3}; };
  table.Add("NewStringArray", true, {S_OK, kNoRecord, 2},
            Null("FindClass", 1, {E_FAIL, NotFound("java/lang/String"), 0}) +
                Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
                Both("NewString", 1, {E_FAIL, kNoRecord, 1}) + Both("NewObjectArray", 1, {S_OK, kNoRecord, 1}),
            NoPreparation, [](IQV_JavaVM& vm, FakeJni&) {
              qv_jarray out = nullptr;
              return vm.NewStringArray(&out, 2);
            });
  table.Add("SetObjectArrayElement", true, {S_OK, kNoRecord, 0},
            Throws("SetObjectArrayElement", 1, thrown("SetObjectArrayElement")), NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) {
              return vm.SetObjectArrayElement(jni.GivenArray(1), 0, jni.GivenObject("it"));
            });
  const RecordView outside = Record(L"java.lang.ArrayIndexOutOfBoundsException: 1", -1001);
  table.Add("SetObjectArrayElement out of bounds", true, {E_FAIL, outside, 3},
            Throws("SetObjectArrayElement", 1, thrown("SetObjectArrayElement")) + CaptureFaults(1, 1, 0, outside),
            NoPreparation,
            [](IQV_JavaVM& vm, FakeJni& jni) { return vm.SetObjectArrayElement(jni.GivenArray(1), 1, nullptr); },
            {{{E_FAIL, kNoRecord, 3}, {E_FAIL, kNoRecord, 3}}});
  table.Add("NewByteArray", true, {S_OK, kNoRecord, 1},
            Null("NewByteArray", 1, {S_OK, kNoRecord, 0}) + Throws("NewByteArray", 1, thrown("NewByteArray")),
            NoPreparation, [](IQV_JavaVM& vm, FakeJni&) {
              qv_jarray out = nullptr;
              return vm.NewByteArray(&out, 2);
            });
  const FaultRows elements = Null("GetByteArrayElements", 1, {E_FAIL, kInternalRecord, 0}) +
                             Throws("GetByteArrayElements", 1, thrown("GetByteArrayElements"));
  table.Add("GetByteArrayData", true, {S_OK, kNoRecord, 0}, elements, NoPreparation, [](IQV_JavaVM& vm, FakeJni& jni) {
    jbyte bytes[2] = {};
    return vm.GetByteArrayData(jni.GivenBytes({1, 2}), 0, 2, bytes);
  });
  table.Add("SetByteArrayData", true, {S_OK, kNoRecord, 0}, elements, NoPreparation, [](IQV_JavaVM& vm, FakeJni& jni) {
    const jbyte bytes[2] = {};
    return vm.SetByteArrayData(jni.GivenBytes({1, 2}), 0, bytes, 2);
  });
}

void AddQueries(Table& table) {
  table.Add("GetJNIEnv", true, {S_OK, kNoRecord, 0}, {}, NoPreparation, [](IQV_JavaVM& vm, FakeJni&) {
    qv_jnienv env = nullptr;
    return vm.GetJNIEnv(&env);
  });
  struct Query {
    const char* name;
    int32_t (IQV_JavaVM::*get)(IQvString**) noexcept;
    const wchar_t* key;
  };
  for (const Query& query : {Query{"GetClassPath", &IQV_JavaVM::GetClassPath, L"java.class.path"},
                             {"GetJavaVersion", &IQV_JavaVM::GetJavaVersion, L"java.version"}}) {
    const RecordView called = ErrorOf("CallStaticObjectMethodV", -1001);
    table.Add(
        query.name, true, {S_OK, kNoRecord, 3},
        Null("FindClass", 1, {E_FAIL, NotFound("java/lang/System"), 0}) +
            Throws("FindClass", 1, {E_FAIL, ErrorOf("FindClass", 0), 3}) +
            Both("NewString", 1, {E_FAIL, kNoRecord, 1}) + Null("GetStaticMethodID", 1, {E_FAIL, kNoRecord, 2}) +
            Throws("GetStaticMethodID", 1, {E_FAIL, ErrorOf("GetStaticMethodID", -1001), 5}) +
            Null("CallStaticObjectMethodV", 1, {E_FAIL, kNoRecord, 2}) +
            Throws("CallStaticObjectMethodV", 1, {E_FAIL, called, 6}) +
            Both("GetStringChars", 1, {E_FAIL, kNoRecord, 3}),
        [query](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.properties[query.key] = L"value"; },
        [query](IQV_JavaVM& vm, FakeJni&) {
          IQvString* text = nullptr;
          const int32_t status = (vm.*query.get)(&text);
          if (text != nullptr) text->Release();
          return status;
        },
        {{{E_OUTOFMEMORY, kNoRecord, 3}, {E_OUTOFMEMORY, kNoRecord, 3}}});
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
    table.Add(
        name, true, {1, text, 3}, faults,
        [thrown](FakeVm& java, IQV_JavaVM&, SlotTable&) { java.Here().SetPending(Throwable("exception", thrown)); },
        [](IQV_JavaVM& vm, FakeJni& jni) {
          auto& object = static_cast<CQV_JNIVMManager&>(vm);
          return vm.CaptureException(object.RecordSlot(), &jni);
        },
        {{{1, kNoRecord, 3}, {1, kNoRecord, 3}}});
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
  return table.Rows();
}

}  // namespace qvtest
