// The 23 typed calls and field reads as a table: which JNI functions each uses, how wide its result is for the host.
#pragma once

#include <jni.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qvjvm/qvjvm.h"

namespace qvtest {

enum class Form { Instance, InstanceVoid, Static, StaticVoid, Field };

struct TypedCall {
  size_t slot;
  Form form;
  const char* jniCall;
  const char* type;  // of the Java result, as in a signature
  size_t width;      // bytes written through the result pointer; 0: it has none
};

std::vector<TypedCall> TypedCalls();

inline bool HasObject(const TypedCall& row) { return row.form == Form::Instance || row.form == Form::InstanceVoid; }
inline bool HasSignature(const TypedCall& row) { return row.form != Form::Field; }
const char* LookupOf(const TypedCall& row);
// The signature of the member that the tests call.
std::string SignatureOf(const TypedCall& row, const std::string& arguments = "()");

// The lines of the record: the look-up of the member "m" in a/B, the call of it on the object "it" or on the class.
std::vector<std::string> LookupLine(const TypedCall& row);
std::vector<std::string> CallLine(const TypedCall& row);

// What Java gives and what the host then reads, byte for byte.
struct TypedValue {
  const char* name;
  jvalue java;
  std::vector<uint8_t> host;
};
// The extremes of the row's type; for references and void a single one.
std::vector<TypedValue> ValuesOf(const TypedCall& row, jobject reference);

struct CallArguments {
  void* result;
  qv_jclass cls;
  qv_jobject object;
  const char* name;
  const char* signature;
};
// Calls the row's slot by its number; it leaves out what the row's form does not take.
int32_t Invoke(IQV_JavaVM& vm, const TypedCall& row, const CallArguments& given);

}  // namespace qvtest
