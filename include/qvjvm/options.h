/** @file
 * Starting the Java VM Service with an application's own options, in plain C (C99 and later) and C++: heap, options of
 * the JVM, system properties, class path, runtime, log. It needs qvjvm.h and no JDK, no administrator, and changes
 * nothing but the running process.
 *
 * One source file of the host (each EXE or DLL that uses this has one) defines QVJVM_OPTIONS_IMPLEMENTATION before it
 * includes this header, and gets the functions; that file includes windows.h too. C++ hosts have `qvjvm::options`.
 *
 * @code
 * static const wchar_t* const kOptions[] = {L"-XX:+UseSerialGC"};
 * static const wchar_t* const kClassPath[] = {L"lib\\*", L"reports.jar"};
 * qv_options options = {0};
 * options.heap = (uint64_t)512 << 20;
 * options.options = kOptions;
 * options.optionCount = 1;
 * options.classPath = kClassPath;
 * options.classPathCount = 2;
 * options.compiled = 1;
 * if (qv_start(L"qvjvm.dll", &options, &vm, NULL, why, 300) < 0) ...
 * @endcode
 */
#ifndef QVJVM_OPTIONS_H
#define QVJVM_OPTIONS_H

#include "qvjvm/qvjvm.h"

#if defined(__cplusplus)
extern "C" {
#endif

/** A system property of Java. */
typedef struct qv_property {
  const wchar_t* name;  /**< "user.language" */
  const wchar_t* value; /**< null for an empty text */
} qv_property;

/** What a start asks for; zeros ask for nothing. A path that is not absolute lies in the folder of the host's
 *  executable. Heap and options together replace the configured options whole, properties and `compiled` the configured
 *  properties. */
typedef struct qv_options {
  uint64_t heap;                   /**< the heap's most bytes, rounded up to KiB; 0: none given */
  const wchar_t* const* options;   /**< of the JVM, behind the heap and in this order */
  int32_t optionCount;             /**< of them */
  const qv_property* properties;   /**< of Java */
  int32_t propertyCount;           /**< of them */
  int32_t compiled;                /**< 1: no property java.compiler, with which older runtimes interpret all Java */
  const wchar_t* const* classPath; /**< files and folders; "lib\*" stands for the jars of lib, sorted by name without
                                        case. Before the configured class path */
  int32_t classPathCount;          /**< of them */
  const wchar_t* runtime;          /**< the folder of a JRE or JDK, or null */
  const wchar_t* logFile;          /**< where the JVM's output goes once it runs, or null */
  int32_t logFilesKept;            /**< so many older logs stay, as logFile.1 (the youngest), logFile.2 and so on */
} qv_options;

/** The heap came too late, because a JVM ran in the process already. */
#define QV_IGNORED_HEAP ((uint32_t)1)
/** So did the options of the JVM. */
#define QV_IGNORED_OPTIONS ((uint32_t)2)
/** So did the properties. */
#define QV_IGNORED_PROPERTIES ((uint32_t)4)
/** So did `compiled`. */
#define QV_IGNORED_COMPILED ((uint32_t)8)
/** So did the class path. */
#define QV_IGNORED_CLASS_PATH ((uint32_t)16)
/** So did the runtime. */
#define QV_IGNORED_RUNTIME ((uint32_t)32)

/** Loads the service and starts the JVM with these options, or joins the one that runs. Heap, options, properties,
 *  `compiled` and the runtime need a host library with settings of an application (QvshrSetApplicationValue), as the
 *  product's own has. While it runs, no other thread may start the service or read JAVA_HOME, which names the runtime
 *  for the time of the start.
 *  @param library   the service's DLL, which stays loaded; null for "qvjvm.dll".
 *  @param options   what the start asks for; null for nothing.
 *  @param vm        out: a service object of the caller; null on failure.
 *  @param ignored   out: what came too late, QV_IGNORED_...; may be null.
 *  @param why       gets the reason of a failure, cut to its room and terminated; may be null.
 *  @param whyUnits  of `why`.
 *  @return QV_S_OK; QV_E_INVALIDARG for an option, property, path or runtime that cannot be; QV_E_NOTIMPL when the host
 *          library lacks what is asked for; QV_E_OUTOFMEMORY; QV_E_FAIL or a Windows error when there is no Java VM. */
int32_t qv_start(const wchar_t* library, const qv_options* options, IQV_JavaVM** vm, uint32_t* ignored, wchar_t* why,
                 int32_t whyUnits) QV_NOEXCEPT;

/** The version of the service, as QVJVM_VERSION has it; it is loaded for that and stays so.
 *  @param library  as with qv_start.
 *  @return 0 when it cannot be loaded, and for a library that says no version. */
int32_t qv_service_version(const wchar_t* library) QV_NOEXCEPT;

/** Java that starts beside the host's own work. */
typedef struct qv_starting qv_starting;

/** Begins what qv_start does, on a thread of its own, and comes back at once. Where a JVM runs already, or no thread
 * can be made, all is done before it comes back. The thread that has made the JVM sleeps until the process ends; the
 * EXE or DLL with this code stays loaded.
 *  @param library, options  as with qv_start; they and what they point to stay as they are until qv_finish_start has
 *                           come back.
 *  @return for one call of qv_finish_start; null without memory, which that tells. */
qv_starting* qv_begin_start(const wchar_t* library, const qv_options* options) QV_NOEXCEPT;

/** Whether qv_finish_start would wait for nothing: 1 or 0. Any thread. */
int32_t qv_is_started(const qv_starting* starting) QV_NOEXCEPT;

/** Waits until Java is there or could not be started, and frees `starting`. Any thread. The parameters and the result
 *  are those of qv_start; QV_E_FAIL, and nothing is freed, when the process ends before Java is there; QV_E_INVALIDARG,
 *  and nothing is freed, without `vm`. */
int32_t qv_finish_start(qv_starting* starting, IQV_JavaVM** vm, uint32_t* ignored, wchar_t* why,
                        int32_t whyUnits) QV_NOEXCEPT;

#if defined(__cplusplus)
}
#endif

#endif

#if defined(QVJVM_OPTIONS_IMPLEMENTATION) && !defined(QVJVM_OPTIONS_IMPLEMENTED)
#define QVJVM_OPTIONS_IMPLEMENTED
#include "qvjvm/client/start_functions.h"
#if defined(__cplusplus)
extern "C" {
#endif
int32_t qv_start(const wchar_t* library, const qv_options* options, IQV_JavaVM** vm, uint32_t* ignored, wchar_t* why,
                 int32_t whyUnits) QV_NOEXCEPT {
  return qv_start_service(library, options, vm, ignored, why, whyUnits);
}
int32_t qv_service_version(const wchar_t* library) QV_NOEXCEPT {
  return qv_module_version(qv_load_service(library != NULL ? library : L"qvjvm.dll"));
}
qv_starting* qv_begin_start(const wchar_t* library, const qv_options* options) QV_NOEXCEPT {
  return qv_begin_start_of(library, options);
}
int32_t qv_is_started(const qv_starting* starting) QV_NOEXCEPT { return qv_has_started(starting); }
int32_t qv_finish_start(qv_starting* starting, IQV_JavaVM** vm, uint32_t* ignored, wchar_t* why,
                        int32_t whyUnits) QV_NOEXCEPT {
  return qv_finish_start_of(starting, vm, ignored, why, whyUnits);
}
#if defined(__cplusplus)
}
#endif
#endif
