/* A host that calls every operation of the interface through the public header, as C or, by client.cpp, as C++.
 * It needs no other header but a list of names and no library of its compiler, so that any compiler for Windows will do;
 * the few functions of Windows and of the C runtime are declared here.
 * Exit code 0: every check held. A failed one is printed with its line. */
#include "qvjvm/qvjvm.h"

#if defined(__cplusplus)
#define LINKAGE extern "C"
#else
#define LINKAGE extern
#endif
LINKAGE __declspec(dllimport) void* __stdcall LoadLibraryExW(const wchar_t* path, void* reserved, unsigned long flags);
LINKAGE __declspec(dllimport) void* __stdcall GetModuleHandleW(const wchar_t* name);
LINKAGE __declspec(dllimport) void* __stdcall GetProcAddress(void* module, const char* name);
LINKAGE __declspec(dllimport) unsigned long __stdcall GetModuleFileNameW(void* module, wchar_t* path,
                                                                         unsigned long units);
LINKAGE __declspec(dllimport) int __stdcall DeleteFileW(const wchar_t* path);
LINKAGE int printf(const char* format, ...);

#if defined(_MSC_VER)
/* What Microsoft's C runtime would bring: says that floating point is used. */
LINKAGE int _fltused;
int _fltused = 1;
#endif

/* The same call in both views of the header. */
#if QV_CPP_VIEW
#define CALL(object, operation, ...) ((object)->operation(__VA_ARGS__))
#define CALL0(object, operation) ((object)->operation())
#define ID(iid) (iid)
#define ENVIRONMENT(vm) QV_AcquireThreadEnv(vm)
#else
#define CALL(object, operation, ...) ((object)->lpVtbl->operation((object), __VA_ARGS__))
#define CALL0(object, operation) ((object)->lpVtbl->operation(object))
#define ID(iid) (&(iid))
#define ENVIRONMENT(vm) CALL0(vm, AcquireThreadEnv)
#endif

static int g_checks = 0;
static int g_failures = 0;

static void Check(int holds, int line, const char* text) {
  ++g_checks;
  if (holds) return;
  ++g_failures;
  printf("line %d: %s\n", line, text);
}
#define CHECK(condition) Check((condition) ? 1 : 0, __LINE__, #condition)
#define OK(status) Check((status) == QV_S_OK, __LINE__, #status)

static int SameText(const wchar_t* left, const wchar_t* right) {
  while (*left != 0 && *left == *right) {
    ++left;
    ++right;
  }
  return *left == *right;
}

static int Contains(const wchar_t* text, const wchar_t* part) {
  for (; *text != 0; ++text) {
    size_t i = 0;
    while (part[i] != 0 && text[i] == part[i]) ++i;
    if (part[i] == 0) return 1;
  }
  return 0;
}

static IQV_JavaVM* g_vm;
static wchar_t g_folder[1024]; /* the program's, with a backslash */

static void PathBeside(const wchar_t* name, wchar_t* path) {
  size_t length = 0;
  size_t i = 0;
  for (; g_folder[length] != 0; ++length) path[length] = g_folder[length];
  do path[length + i] = name[i];
  while (name[i++] != 0);
}

static void FindOwnFolder(void) {
  unsigned long length = GetModuleFileNameW(NULL, g_folder, 1000);
  while (length > 0 && g_folder[length - 1] != L'\\') --length;
  g_folder[length] = 0;
}

static qv_jclass FindClass(const char* name) {
  qv_jclass cls = NULL;
  OK(CALL(g_vm, FindClass, &cls, name));
  CHECK(cls != NULL);
  return cls;
}

static qv_jstring NewString(const wchar_t* text) {
  qv_jstring string = NULL;
  OK(CALL(g_vm, NewString, &string, text));
  return string;
}

/* Whether the Java string is this text; gives the string back. */
static int TakeString(qv_jstring string, const wchar_t* text) {
  wchar_t buffer[512];
  int32_t size = 512;
  OK(CALL(g_vm, GetStringChars, buffer, &size, string));
  OK(CALL(g_vm, DeleteLocalRef, string));
  return SameText(buffer, text);
}

/* ---- slots 0 to 6, 57 ---- */

static void CheckIdentity(QV_CreateJavaVMFn create) {
  const GUID javaVm = QV_IID_JAVAVM_INIT;
  const GUID unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  const GUID other = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  IQV_JavaVM* second = NULL;
  IQV_JavaVM* held = NULL;
  void* object = NULL;
  OK(CALL(g_vm, QueryInterface, ID(javaVm), &object));
  CHECK(object == (void*)g_vm);
  OK(CALL(g_vm, QueryInterface, ID(unknown), &object));
  CHECK(CALL(g_vm, QueryInterface, ID(other), &object) == QV_E_NOINTERFACE);
  CHECK(CALL0(g_vm, AddRef) == 4);
  CHECK(CALL0(g_vm, Release) == 3);
  CHECK(CALL0(g_vm, Release) == 2);
  CHECK(CALL0(g_vm, Release) == 1);

  CHECK(create(&second, L"too late.jar") == QV_S_CLASSPATH_IGNORED);
  OK(CALL(second, AcquireService, &held));
  CHECK(held == second);
  OK(CALL(second, ReleaseService, &held));
  CHECK(held == NULL);

  OK(create(&second, NULL));
  CHECK(CALL(second, Destroy, 1) != NULL);
}

static void CheckErrorRecord(void) {
  IQvString* text = NULL;
  int32_t code = 7;
  int32_t result = 7;
  CHECK(CALL(g_vm, GetErrorText, &text) == QV_E_FAIL && text == NULL);
  CHECK(CALL(g_vm, GetErrorCode, &code) == QV_E_FAIL && code == 0);
  CHECK(CALL(g_vm, CallIntMethod, &result, NULL, NULL, "name", "()I") == QV_E_FAIL);
  OK(CALL(g_vm, GetErrorCode, &code));
  CHECK(code == QV_CODE_CALL_FAILED);
  OK(CALL(g_vm, GetErrorText, &text));
  CHECK(SameText(CALL0(text, GetText), L"QVJava Internal Exception"));
  CHECK(CALL0(text, GetLength) == 26);
  CHECK(CALL0(text, AddRef) == 2);
  CHECK(CALL0(text, Release) == 1);
  CHECK(CALL0(text, Reserved3) == QV_E_NOTIMPL);
  CHECK(CALL0(text, Release) == 0);
}

/* ---- slots 7 to 19 ---- */

static void CheckReferencesAndStrings(void) {
  qv_jstring string = NewString(L"wide \xFC \x6F22");
  qv_jobject cast = NULL;
  qv_jobject global = NULL;
  IQvString* value = NULL;
  IQvString* joined = NULL;
  int32_t length = 0;
  OK(CALL(g_vm, CastReference, &cast, string));
  CHECK(cast == string);
  OK(CALL(g_vm, NewGlobalRef, &global, string));
  OK(CALL(g_vm, GetStringLength, &length, global));
  CHECK(length == 8);
  OK(CALL(g_vm, DeleteGlobalRef, global));
  OK(CALL(g_vm, GetStringValue, &value, string));
  CHECK(SameText(CALL0(value, GetText), L"wide \xFC \x6F22"));
  OK(CALL(value, Concat, value, &joined));
  CHECK(SameText(CALL0(joined, GetText), L"wide \xFC \x6F22wide \xFC \x6F22"));
  CALL0(joined, Release);
  CALL0(value, Release);
  CHECK(TakeString(string, L"wide \xFC \x6F22"));
  OK(CALL(g_vm, DeleteLocalRef2, NewString(L"")));
  OK(CALL(g_vm, DeleteLocalRef3, NewString(L"")));
}

#define EVERY_KIND "ZBCSIJFDLjava/lang/Object;Ljava/lang/String;"
#define KINDS 1, -128, 65535, -32768, (int32_t)(-2147483647 - 1), (int64_t)1 << 40, 0.5, -0.25, (void*)NULL
static const wchar_t kKindsTold[] = L"true -128 65535 -32768 -2147483648 1099511627776 0.5 -0.25 true given";

static void CheckConstruction(qv_jclass cls) {
  qv_jstring given = NewString(L"given");
  qv_jobject object = NULL;
  qv_jobject told = NULL;
  OK(CALL(g_vm, NewObject, &object, cls, "(" EVERY_KIND ")", KINDS, given));
  OK(CALL(g_vm, CallObjectMethod, &told, cls, object, "made", "()Ljava/lang/String;"));
  CHECK(TakeString(told, kKindsTold));
  OK(CALL(g_vm, NewDefaultObject, &object, cls));
  OK(CALL(g_vm, CallObjectMethod2, &told, cls, object, "made", "()Ljava/lang/String;"));
  CHECK(TakeString(told, L"made with nothing"));
}

/* ---- slots 20 to 42 ---- */

/* The method gives its argument back, through a variable of its type. */
#define ECHOES(operation, variable, method, signature, value)                      \
  OK(CALL(g_vm, operation, &(variable), cls, object, method, signature, (value))); \
  CHECK((variable) == (value))

static void CheckNumberCalls(qv_jclass cls, qv_jobject object) {
  const int64_t large = -((int64_t)1 << 62) + 12345;
  int32_t i = 0;
  int16_t s = 0;
  int8_t b = 0;
  int64_t j = 0;
  float f = 0;
  double d = 0;
  ECHOES(CallIntMethod, i, "ofInt", "(I)I", -2000000000);
  ECHOES(CallIntMethod2, i, "ofInt", "(I)I", 2000000000);
  ECHOES(CallShortMethod, s, "ofShort", "(S)S", -32768);
  ECHOES(CallShortMethod2, s, "ofShort", "(S)S", 32767);
  ECHOES(CallByteMethod, b, "ofByte", "(B)B", -128);
  ECHOES(CallByteMethod2, b, "ofByte", "(B)B", 127);
  ECHOES(CallLongMethod, j, "ofLong", "(J)J", large);
  ECHOES(CallLongMethod2, j, "ofLong", "(J)J", -large);
  ECHOES(CallFloatMethod, f, "ofFloat", "(F)F", 0.1f);
  OK(CALL(g_vm, CallFloatMethod2, &f, cls, object, "ofFloat", "(F)F", -3.5e38));
  CHECK(f < -3.4e38f);
  ECHOES(CallDoubleMethod, d, "ofDouble", "(D)D", 0.1);
  ECHOES(CallDoubleMethod2, d, "ofDouble", "(D)D", -1e308);
  ECHOES(CallBooleanMethod, i, "ofBoolean", "(Z)Z", 1);
  ECHOES(CallBooleanMethod2, i, "ofBoolean", "(Z)Z", 0);
  OK(CALL(g_vm, CallStaticBooleanMethod, &i, cls, "staticBoolean", "(Z)Z", 1));
  CHECK(i == 1);
  OK(CALL(g_vm, GetStaticIntField, &i, cls, "intSmallest"));
  CHECK(i == -2147483647 - 1);
  OK(CALL(g_vm, GetStaticShortField, &s, cls, "shortSmallest"));
  CHECK(s == -32768);
}

static void CheckObjectCalls(qv_jclass cls, qv_jobject object) {
  qv_jstring given = NewString(L"given");
  qv_jobject told = NULL;
  OK(CALL(g_vm, CallObjectMethod, &told, cls, object, "describe", "(" EVERY_KIND ")Ljava/lang/String;", KINDS, given));
  CHECK(TakeString(told, kKindsTold));
  OK(CALL(g_vm, CallStaticObjectMethod, &told, cls, "staticDescribe", "(" EVERY_KIND ")Ljava/lang/String;", KINDS,
          given));
  CHECK(TakeString(told, kKindsTold));
  OK(CALL(g_vm, CallObjectMethod2, &told, cls, object, "many", "(IDJFIDJFID)Ljava/lang/String;", 1, 2.5, (int64_t)-3,
          4.5, 5, 6.5, (int64_t)7000000000, 8.5, -9, 10.5));
  CHECK(TakeString(told, L"1 2.5 -3 4.5 5 6.5 7000000000 8.5 -9 10.5"));
}

static int KeptIs(qv_jclass cls, qv_jobject object, const wchar_t* text) {
  qv_jobject kept = NULL;
  OK(CALL(g_vm, CallObjectMethod, &kept, cls, object, "kept", "()Ljava/lang/String;"));
  return TakeString(kept, text);
}

static void CheckVoidCalls(qv_jclass cls, qv_jobject object) {
  const char* const signature = "(Ljava/lang/String;)V";
  OK(CALL(g_vm, CallVoidMethod, cls, object, "keep", signature, NewString(L"first")));
  CHECK(KeptIs(cls, object, L"first"));
  OK(CALL(g_vm, CallVoidMethod2, cls, object, "keep", signature, NewString(L"second")));
  CHECK(KeptIs(cls, object, L"second"));
  OK(CALL(g_vm, CallStaticVoidMethod, cls, "staticKeep", signature, NewString(L"third")));
  CHECK(KeptIs(cls, object, L"third"));
}

/* ---- slots 43 to 47 ---- */

static void CheckArrays(void) {
  qv_jclass arrays = FindClass("java/util/Arrays");
  qv_jarray array = NULL;
  qv_jobject text = NULL;
  unsigned char bytes[4] = {1, 128, 255, 0};
  OK(CALL(g_vm, NewStringArray, &array, 2));
  OK(CALL(g_vm, SetObjectArrayElement, array, 1, NewString(L"x")));
  OK(CALL(g_vm, CallStaticObjectMethod, &text, arrays, "toString", "([Ljava/lang/Object;)Ljava/lang/String;", array));
  CHECK(TakeString(text, L"[, x]"));
  OK(CALL(g_vm, NewByteArray, &array, 4));
  OK(CALL(g_vm, SetByteArrayData, array, 0, bytes, 4));
  bytes[0] = bytes[1] = bytes[2] = bytes[3] = 9;
  OK(CALL(g_vm, GetByteArrayData, array, 0, 3, bytes));
  CHECK(bytes[0] == 1 && bytes[1] == 128 && bytes[2] == 255 && bytes[3] == 9);
}

/* ---- slots 48 to 56 ---- */

static void CheckQueries(const wchar_t* classPath) {
  IQvString* text = NULL;
  qv_jnienv env = NULL;
  int32_t created = 0;
  static wchar_t log[1100];
  OK(CALL(g_vm, GetJNIEnv, &env));
  CHECK(env != NULL && env == ENVIRONMENT(g_vm));
  CHECK(CALL(g_vm, GetJDKLocation, &text) == QV_E_FAIL && text == NULL);
  CHECK(CALL(g_vm, GetJREBinLocation, &text) == QV_E_FAIL && text == NULL);
  PathBeside(L"client.log", log);
  OK(CALL(g_vm, SetLogFileName, log));
  OK(CALL(g_vm, GetLogFileName, &text));
  CHECK(SameText(CALL0(text, GetText), log));
  CALL0(text, Release);
  OK(CALL(g_vm, SetJvmLogEnabled, 0));
  DeleteFileW(log);
  OK(CALL(g_vm, IsJVMCreated, &created));
  CHECK(created == 1);
  OK(CALL(g_vm, GetClassPath, &text));
  CHECK(Contains(CALL0(text, GetText), classPath));
  CALL0(text, Release);
  OK(CALL(g_vm, GetJavaVersion, &text));
  CHECK(CALL0(text, GetLength) > 2);
  CALL0(text, Release);
}

/* ---- slots 58 to 60 ---- */

static void CheckExceptions(void) {
  typedef void (*FreeFn)(void*);
  const FreeFn qvshrFree = (FreeFn)GetProcAddress(GetModuleHandleW(L"qvshr.dll"), (const char*)2);
  qv_jclass cls = FindClass("qvtest/Faults");
  qv_jnienv env = ENVIRONMENT(g_vm);
  qv_jobject object = NULL;
  ErrorRecord* record = NULL;
  CHECK(CALL(g_vm, CaptureException, &record, env) == 0 && record == NULL);
  OK(CALL(g_vm, NewObject, &object, cls, "(Ljava/lang/String;)", NewString(L"refused")));
  CHECK(object == NULL);
  CHECK(CALL(g_vm, CaptureException, &record, env) == 1);
  CHECK(SameText(record->text, L"java.lang.IllegalArgumentException: refused") && record->code == 0);
  qvshrFree(record);
  OK(CALL(g_vm, NewObject, &object, cls, "(Ljava/lang/String;)", NewString(L"refused again")));
  CALL(g_vm, ExceptionClear, env);
  CHECK(CALL(g_vm, CaptureException, &record, env) == 0);
}

#if !QV_CPP_VIEW
/* Every operation stands in its place of the table; here are the places in order. */
static const size_t kPlaces[QV_SLOT_COUNT] = {
#define QV_SLOT(operation) offsetof(IQV_JavaVMVtbl, operation),
#include "../support/slot_names.inc"
};
static void CheckPlaces(void) {
  size_t slot;
  for (slot = 0; slot < QV_SLOT_COUNT; ++slot) {
    CHECK(kPlaces[slot] == slot * sizeof(void*));
    if (kPlaces[slot] != slot * sizeof(void*)) printf("slot %d\n", (int)slot);
  }
  CHECK(sizeof(IQV_JavaVMVtbl) == QV_SLOT_COUNT * sizeof(void*));
}
#endif

static int Run(void) {
  const unsigned long alteredSearchPath = 8;
  static wchar_t service[1100]; /* large blocks on the stack would need help from a C runtime */
  static wchar_t classPath[1100];
  QV_CreateJavaVMFn create;
  qv_jclass cls;
  qv_jobject object = NULL;
  FindOwnFolder();
  PathBeside(L"qvjvm.dll", service);
  PathBeside(L"qvtests.jar", classPath);
  create = (QV_CreateJavaVMFn)GetProcAddress(LoadLibraryExW(service, NULL, alteredSearchPath), "QV_CreateJavaVM");
  CHECK(create != NULL);
  if (create == NULL) return 1;
  OK(create(&g_vm, classPath));
  CHECK(g_vm != NULL);
  if (g_vm == NULL) return 1;
#if !QV_CPP_VIEW
  CheckPlaces();
#endif
  CheckIdentity(create);
  CheckErrorRecord();
  CheckReferencesAndStrings();
  cls = FindClass("qvtest/Echo");
  OK(CALL(g_vm, NewDefaultObject, &object, cls));
  CheckConstruction(cls);
  CheckNumberCalls(cls, object);
  CheckObjectCalls(cls, object);
  CheckVoidCalls(cls, object);
  CheckArrays();
  CheckQueries(classPath);
  CheckExceptions();
  CHECK(CALL0(g_vm, Release) == 0);
  return g_failures == 0 ? 0 : 1;
}

#if defined(__cplusplus)
extern "C"
#endif
    int
    main(void) {
  const int result = Run();
  printf("%d checks, %d failed\n", g_checks, g_failures);
  return result;
}
