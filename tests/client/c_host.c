/* The functions of callbacks.h in a program, and functions in C that Java calls. */
#include "tests/client/c_host.h"

#include <jni.h>

#define QVJVM_CALLBACKS_IMPLEMENTATION
#include "qvjvm/callbacks.h"

/* The header calls JNI by place in its table; jni.h has the last word on where a function is. */
#define PLACE(function)                                                                                        \
  typedef char function##IsInItsPlace[offsetof(qv_jni, function) == offsetof(struct JNINativeInterface_, function) ? 1 \
                                                                                                                   : -1]
PLACE(DefineClass);
PLACE(FindClass);
PLACE(FromReflectedMethod);
PLACE(Throw);
PLACE(ThrowNew);
PLACE(ExceptionOccurred);
PLACE(ExceptionClear);
PLACE(PushLocalFrame);
PLACE(PopLocalFrame);
PLACE(NewGlobalRef);
PLACE(DeleteGlobalRef);
PLACE(DeleteLocalRef);
PLACE(EnsureLocalCapacity);
PLACE(NewObjectA);
PLACE(GetObjectClass);
PLACE(IsInstanceOf);
PLACE(GetMethodID);
PLACE(CallObjectMethodA);
PLACE(CallVoidMethodA);
PLACE(CallNonvirtualObjectMethodA);
PLACE(CallNonvirtualBooleanMethodA);
PLACE(CallNonvirtualByteMethodA);
PLACE(CallNonvirtualCharMethodA);
PLACE(CallNonvirtualShortMethodA);
PLACE(CallNonvirtualIntMethodA);
PLACE(CallNonvirtualLongMethodA);
PLACE(CallNonvirtualFloatMethodA);
PLACE(CallNonvirtualDoubleMethodA);
PLACE(CallNonvirtualVoidMethodA);
PLACE(GetStaticMethodID);
PLACE(CallStaticObjectMethodA);
PLACE(CallStaticBooleanMethodA);
PLACE(CallStaticLongMethodA);
PLACE(NewString);
PLACE(GetStringLength);
PLACE(NewStringUTF);
PLACE(NewObjectArray);
PLACE(GetObjectArrayElement);
PLACE(SetObjectArrayElement);
PLACE(RegisterNatives);
PLACE(UnregisterNatives);
PLACE(GetStringRegion);
PLACE(ExceptionCheck);

static LONG volatile g_ends;

static void CountEnd(void* context) {
  if (*(const int*)context == 7) InterlockedIncrement(&g_ends);
}

int32_t EndsInC(void) { return g_ends; }

int32_t SameInC(qv_call* call) {
  call->result = call->arguments[0];
  return QV_S_OK;
}

static int32_t All(qv_call* call) {
  const qv_value* const a = call->arguments;
  const int whole = *(const int*)call->context == 7 && call->count == 11 && a[0].z == 1 && a[1].b == -1 &&
                    a[2].c == 'x' && a[3].s == -2 && a[4].i == -3 && a[5].j == (int64_t)1 << 40 && a[6].f == 0.5F &&
                    a[7].d == -0.25 && a[8].l != NULL && a[9].l != NULL && a[10].l == NULL;
  qv_jstring text = NULL;
  if (call->vm->lpVtbl->NewString(call->vm, &text, whole ? L"whole " : L"not whole ") < 0) return QV_E_FAIL;
  call->result.l = text;
  return QV_S_OK;
}

static const char* const kInterfaces[] = {"client/Callbacks$Every"};
static const qv_function kFunctions[] = {
    {"all", "(ZBCSIJFDLjava/lang/String;[ILjava/lang/Object;)Ljava/lang/String;", All},
    {"ofBoolean", "(Z)Z", SameInC},
    {"ofByte", "(B)B", SameInC},
    {"ofChar", "(C)C", SameInC},
    {"ofShort", "(S)S", SameInC},
    {"ofLong", "(J)J", SameInC},
    {"ofFloat", "(F)F", SameInC},
    {"ofDouble", "(D)D", SameInC},
    {"ofTexts", "([Ljava/lang/String;)[Ljava/lang/String;", SameInC},
};
const qv_implementation kEveryInC = {kInterfaces, 1,        kFunctions, sizeof kFunctions / sizeof kFunctions[0],
                                     CountEnd,    NULL};

/* ---- native methods ---- */

static double Half(qv_jnienv env, qv_jclass cls, double value) {
  (void)env;
  (void)cls;
  return value / 2;
}

static uint8_t Not(qv_jnienv env, qv_jclass cls, uint8_t value) {
  (void)env;
  (void)cls;
  return !value;
}

static qv_jobject Same(qv_jnienv env, qv_jobject self) {
  (void)env;
  return self;
}

const qv_native kNativesInC[] = {
    {"half", "(D)D", (void (*)(void))Half},
    {"not", "(Z)Z", (void (*)(void))Not},
    {"same", "()Lclient/Natives;", (void (*)(void))Same},
};
const int32_t kNativesInCCount = sizeof kNativesInC / sizeof kNativesInC[0];
