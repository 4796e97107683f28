/* A C program whose function Java calls, to sort. Prints the words, the shortest first. */
#include <stdio.h>

#define QVJVM_CALLBACKS_IMPLEMENTATION
#include "qvjvm/callbacks.h"

static int32_t CompareLengths(qv_call* call) {
  int32_t left = 0;
  int32_t right = 0;
  if (call->vm->lpVtbl->GetStringLength(call->vm, &left, call->arguments[0].l) < 0 ||
      call->vm->lpVtbl->GetStringLength(call->vm, &right, call->arguments[1].l) < 0) {
    return qv_raise(call->vm, QV_E_FAIL, L"no length");
  }
  call->result.i = left - right;
  return QV_S_OK;
}

int main(void) {
  static const wchar_t* const words[] = {L"three", L"a", L"by"};
  static const char* const interfaces[] = {"java/util/Comparator"};
  static const qv_function functions[] = {{NULL, "(Ljava/lang/String;Ljava/lang/String;)I", CompareLengths}};
  static const qv_implementation byLength = {interfaces, 1, functions, 1, NULL, NULL};
  IQV_JavaVM* vm = NULL;
  qv_jclass arrays = NULL;
  qv_jarray array = NULL;
  qv_jobject word = NULL;
  qv_jobject comparator = NULL;
  IQvString* text = NULL;
  int32_t i;
  if (QV_CreateJavaVM(&vm, NULL) < 0 || vm->lpVtbl->FindClass(vm, &arrays, "java/util/Arrays") < 0) return 1;
  if (qv_implement(vm, &byLength, NULL, &comparator, &text) < 0) {
    if (text != NULL) printf("%ls\n", text->lpVtbl->GetText(text));
    return 2;
  }
  if (vm->lpVtbl->NewStringArray(vm, &array, 3) < 0) return 3;
  for (i = 0; i < 3; ++i) {
    if (vm->lpVtbl->NewString(vm, &word, words[i]) < 0) return 4;
    if (vm->lpVtbl->SetObjectArrayElement(vm, array, i, word) < 0) return 4;
  }
  if (vm->lpVtbl->CallStaticVoidMethod(vm, arrays, "sort", "([Ljava/lang/Object;Ljava/util/Comparator;)V", array,
                                       comparator) < 0) {
    return 5;
  }
  if (vm->lpVtbl->CallStaticObjectMethod(vm, &word, arrays, "toString", "([Ljava/lang/Object;)Ljava/lang/String;",
                                         array) < 0) {
    return 6;
  }
  if (vm->lpVtbl->GetStringValue(vm, &text, word) < 0) return 7;
  printf("%ls\n", text->lpVtbl->GetText(text));
  text->lpVtbl->Release(text);
  vm->lpVtbl->Release(vm);
  return 0;
}
