/* What options.h promises, for C and for the C++ client. Nothing here is for hosts.
 *
 * The options go to the service through the host library's values of an application: keys of the configuration that
 * stand before those of the registry. Which of them the service reads depends on the host's name; so all of them are
 * set, and the service alone knows what kind of host this is. When the start fails they are taken back.
 */
#ifndef QVJVM_CLIENT_START_FUNCTIONS_H
#define QVJVM_CLIENT_START_FUNCTIONS_H

#include <windows.h>

#include "qvjvm/options.h"

#if defined(__cplusplus)
#define QV_START_CAST(Type, value) reinterpret_cast<Type>(value)
#define QV_START_VALUE(Type, value) static_cast<Type>(value)
#define QV_START_SLOT(vm, operation, ...) ((vm)->operation(__VA_ARGS__))
#if !QV_CPP_VIEW
#undef QV_START_SLOT
#define QV_START_SLOT(vm, operation, ...) ((vm)->lpVtbl->operation((vm), __VA_ARGS__))
#endif
#else
#define QV_START_CAST(Type, value) ((Type)(value))
#define QV_START_VALUE(Type, value) ((Type)(value))
#define QV_START_SLOT(vm, operation, ...) ((vm)->lpVtbl->operation((vm), __VA_ARGS__))
#endif

typedef void (*qv_any_function)(void);
typedef int32_t (*qv_set_value)(const wchar_t* key, const wchar_t* name, const wchar_t* value);
typedef int32_t (*qv_created_vms)(void** vms, int32_t capacity, int32_t* count);

/* ---- text that grows ---- */

typedef struct qv_text {
  wchar_t* units; /* terminated, or null before anything is added */
  size_t length;
  size_t capacity;
  int failed; /* without memory */
} qv_text;

static inline void qv_text_free(qv_text* text) {
  if (text->units != NULL) HeapFree(GetProcessHeap(), 0, text->units);
  text->units = NULL;
  text->length = text->capacity = 0;
}

static inline int qv_text_room(qv_text* text, size_t more) {
  if (text->failed) return 0;
  if (text->length + more + 1 > text->capacity) {
    const size_t capacity = (text->length + more + 1) * 2;
    void* const grown = text->units == NULL ? HeapAlloc(GetProcessHeap(), 0, capacity * sizeof(wchar_t))
                                            : HeapReAlloc(GetProcessHeap(), 0, text->units, capacity * sizeof(wchar_t));
    if (grown == NULL) {
      text->failed = 1;
      return 0;
    }
    text->units = QV_START_VALUE(wchar_t*, grown);
    text->capacity = capacity;
  }
  return 1;
}

static inline void qv_text_add(qv_text* text, const wchar_t* more) {
  size_t length = 0;
  while (more[length] != 0) ++length;
  if (!qv_text_room(text, length)) return;
  for (size_t i = 0; i <= length; ++i) text->units[text->length + i] = more[i];
  text->length += length;
}

static inline void qv_text_add_number(qv_text* text, uint64_t number) {
  wchar_t digits[24];
  int at = 23;
  digits[at] = 0;
  do {
    digits[--at] = QV_START_VALUE(wchar_t, L'0' + number % 10);
    number /= 10;
  } while (number != 0);
  qv_text_add(text, digits + at);
}

/* Never null. */
static inline const wchar_t* qv_text_of(const qv_text* text) { return text->units != NULL ? text->units : L""; }

/* ---- paths ---- */

static inline int qv_is_separator(wchar_t unit) { return unit == L'\\' || unit == L'/'; }

static inline int qv_has_file(const wchar_t* path, int folder) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (!folder || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
}

/* The folder of the host's executable with its backslash. */
static inline void qv_add_host_folder(qv_text* text) {
  size_t capacity = 260;
  const size_t before = text->length;
  for (;;) {
    if (!qv_text_room(text, capacity)) return;
    const DWORD units = GetModuleFileNameW(NULL, text->units + before, QV_START_VALUE(DWORD, capacity));
    if (units == 0) text->units[before] = 0;
    if (units < capacity) {
      text->length = before + units;
      while (text->length > before && !qv_is_separator(text->units[text->length - 1])) --text->length;
      text->units[text->length] = 0;
      return;
    }
    capacity *= 2;
  }
}

/* A path; one that is not absolute lies in the folder of the executable. */
static inline void qv_add_path(qv_text* text, const wchar_t* path) {
  const int absolute = qv_is_separator(path[0]) || (path[0] != 0 && path[1] == L':');
  if (!absolute) qv_add_host_folder(text);
  qv_text_add(text, path);
}

/* ---- the class path ---- */

static inline int qv_compare_names(const wchar_t* left, const wchar_t* right) {
  const int without_case = CompareStringOrdinal(left, -1, right, -1, TRUE) - CSTR_EQUAL;
  return without_case != 0 ? without_case : CompareStringOrdinal(left, -1, right, -1, FALSE) - CSTR_EQUAL;
}

static inline int qv_is_jar(const WIN32_FIND_DATAW* file) {
  size_t length = 0;
  while (file->cFileName[length] != 0) ++length;
  if ((file->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || length < 5) return 0;
  return CompareStringOrdinal(file->cFileName + length - 4, 4, L".jar", 4, TRUE) == CSTR_EQUAL;
}

/* The jars of a folder, whose path ends in a separator, sorted by name. The names are looked through once for each of
 * them: folders of jars are small, and nothing has to be kept. */
static inline void qv_add_jars(qv_text* class_path, const wchar_t* folder) {
  qv_text pattern = {NULL, 0, 0, 0};
  qv_text last = {NULL, 0, 0, 0};
  qv_text_add(&pattern, folder);
  qv_text_add(&pattern, L"*");
  for (int found = !pattern.failed; found && !class_path->failed;) {
    qv_text next = {NULL, 0, 0, 0};
    WIN32_FIND_DATAW file;
    const HANDLE search = FindFirstFileW(pattern.units, &file);
    found = 0;
    if (search == INVALID_HANDLE_VALUE) break;
    do {
      if (!qv_is_jar(&file)) continue;
      if (last.units != NULL && qv_compare_names(file.cFileName, last.units) <= 0) continue;
      if (found && qv_compare_names(file.cFileName, next.units) >= 0) continue;
      next.length = 0;
      qv_text_add(&next, file.cFileName);
      found = !next.failed;
    } while (FindNextFileW(search, &file) != FALSE && !next.failed);
    FindClose(search);
    if (found) {
      if (class_path->length != 0) qv_text_add(class_path, L";");
      qv_text_add(class_path, folder);
      qv_text_add(class_path, next.units);
    }
    class_path->failed |= next.failed;
    qv_text_free(&last);
    last = next;
  }
  class_path->failed |= pattern.failed;
  qv_text_free(&pattern);
  qv_text_free(&last);
}

static inline int32_t qv_make_class_path(const qv_options* options, qv_text* class_path, qv_text* why) {
  for (int32_t i = 0; i < options->classPathCount; ++i) {
    const wchar_t* const entry = options->classPath[i];
    qv_text path = {NULL, 0, 0, 0};
    int32_t status = QV_S_OK;
    if (entry == NULL || entry[0] == 0) {
      qv_text_add(why, L"an entry of the class path is empty");
      return QV_E_INVALIDARG;
    }
    qv_add_path(&path, entry);
    if (!path.failed && path.units[path.length - 1] == L'*' && path.length > 1 &&
        qv_is_separator(path.units[path.length - 2])) {
      path.units[--path.length] = 0;
      if (qv_has_file(path.units, 1)) {
        qv_add_jars(class_path, path.units);
      } else {
        qv_text_add(why, L"the class path names the jars of a folder that is not there: ");
        qv_text_add(why, path.units);
        status = QV_E_INVALIDARG;
      }
    } else if (!path.failed) {
      if (class_path->length != 0) qv_text_add(class_path, L";");
      qv_text_add(class_path, path.units);
    }
    class_path->failed |= path.failed;
    qv_text_free(&path);
    if (status < 0) return status;
    if (class_path->failed) return QV_E_OUTOFMEMORY;
  }
  return QV_S_OK;
}

/* ---- the configuration ---- */

/* A place where the service looks for the configuration: of one product, for known or unknown hosts. */
static inline const wchar_t* qv_config_key(int i) {
  switch (i) {
    case 0:
      return L"HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\";
    case 1:
      return L"HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVIDEConfig\\";
    case 2:
      return L"HKLM\\Software\\Harlowe\\Tablero\\19.0\\Java\\QVIDEConfig\\";
    case 3:
      return L"HKLM\\Software\\Harlowe\\Loomhall\\2.0\\DBComponents\\Java\\QVIDEConfig\\";
    default:
      return NULL;
  }
}

static inline const wchar_t* qv_java_key(int i) {
  switch (i) {
    case 0:
      return L"HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java";
    case 1:
      return L"HKLM\\Software\\Harlowe\\Tablero\\19.0\\Java";
    case 2:
      return L"HKLM\\Software\\Harlowe\\Loomhall\\2.0\\DBComponents\\Java";
    default:
      return NULL;
  }
}

/* An empty key: nothing of it comes from the file or the registry. */
static inline int32_t qv_begin_key(qv_set_value set, const wchar_t* key) {
  int32_t status = set(key, NULL, NULL);
  if (status >= 0) status = set(key, L"Count", L"0");
  if (status >= 0) status = set(key, L"Count", NULL);
  return status;
}

static inline int32_t qv_set_list_value(qv_set_value set, const wchar_t* key, const wchar_t* name, uint64_t index,
                                        const wchar_t* value) {
  qv_text number = {NULL, 0, 0, 0};
  int32_t status = QV_S_OK;
  qv_text_add_number(&number, index);
  if (number.failed) {
    status = QV_E_OUTOFMEMORY;
  } else if (name != NULL) {
    status = set(key, name, number.units);
  } else {
    status = set(key, number.units, value);
  }
  qv_text_free(&number);
  return status;
}

static inline int32_t qv_set_options(qv_set_value set, const wchar_t* key, const qv_options* options) {
  uint64_t count = 0;
  int32_t status = qv_begin_key(set, key);
  if (status >= 0 && options->heap != 0) {
    qv_text heap = {NULL, 0, 0, 0};
    const uint64_t kib = options->heap / 1024 + (options->heap % 1024 != 0);
    qv_text_add(&heap, L"-Xmx");
    qv_text_add_number(&heap, kib % 1024 == 0 ? kib / 1024 : kib);
    qv_text_add(&heap, kib % 1024 == 0 ? L"m" : L"k");
    status = heap.failed ? QV_E_OUTOFMEMORY : qv_set_list_value(set, key, NULL, count++, heap.units);
    qv_text_free(&heap);
  }
  for (int32_t i = 0; status >= 0 && i < options->optionCount; ++i) {
    status = qv_set_list_value(set, key, NULL, count++, options->options[i]);
  }
  if (status >= 0) status = qv_set_list_value(set, key, L"Count", count, NULL);
  return status;
}

static inline int32_t qv_set_properties(qv_set_value set, const wchar_t* key, const qv_options* options) {
  int32_t status = qv_begin_key(set, key);
  for (int32_t i = 0; status >= 0 && i < options->propertyCount; ++i) {
    const qv_property* const property = &options->properties[i];
    if (options->compiled && CompareStringOrdinal(property->name, -1, L"java.compiler", -1, FALSE) == CSTR_EQUAL) {
      continue;
    }
    status = set(key, property->name, property->value != NULL ? property->value : L"");
  }
  return status;
}

static inline int qv_has_options(const qv_options* options) { return options->heap != 0 || options->optionCount > 0; }
static inline int qv_has_properties(const qv_options* options) {
  return options->compiled != 0 || options->propertyCount > 0;
}

/* For every kind of host; `remove` takes them back. */
static inline int32_t qv_set_configuration(qv_set_value set, const qv_options* options, const wchar_t* runtime,
                                           const wchar_t* jvm_folder, int remove) {
  int32_t status = QV_S_OK;
  for (int i = 0; status >= 0 && qv_config_key(i) != NULL; ++i) {
    for (int list = 0; status >= 0 && list < 2; ++list) {
      qv_text key = {NULL, 0, 0, 0};
      if (!(list == 0 ? qv_has_options(options) : qv_has_properties(options))) continue;
      qv_text_add(&key, qv_config_key(i));
      qv_text_add(&key, list == 0 ? L"QVJVMconfig" : L"QVJVMprops");
      if (key.failed) {
        status = QV_E_OUTOFMEMORY;
      } else if (remove) {
        status = set(key.units, NULL, NULL);
      } else {
        status = list == 0 ? qv_set_options(set, key.units, options) : qv_set_properties(set, key.units, options);
      }
      qv_text_free(&key);
    }
  }
  for (int i = 0; status >= 0 && runtime != NULL && qv_java_key(i) != NULL; ++i) {
    status = set(qv_java_key(i), NULL, NULL);
    if (status >= 0 && !remove) status = set(qv_java_key(i), L"JDKLocation", runtime);
    if (status >= 0 && !remove) status = set(qv_java_key(i), L"JREBinLocation", jvm_folder);
  }
  return status;
}

/* Texts that the configuration cannot hold. */
static inline int32_t qv_check_options(const qv_options* options, qv_text* why) {
  for (int32_t i = 0; i < options->optionCount; ++i) {
    if (options->options[i] == NULL || options->options[i][0] != L'-') {
      qv_text_add(why, L"an option of the JVM begins with '-', and this does not: ");
      qv_text_add(why, options->options[i] != NULL ? options->options[i] : L"null");
      return QV_E_INVALIDARG;
    }
  }
  for (int32_t i = 0; i < options->propertyCount; ++i) {
    const wchar_t* const name = options->properties[i].name;
    if (name == NULL || name[0] == 0) {
      qv_text_add(why, L"a property has no name");
      return QV_E_INVALIDARG;
    }
  }
  return QV_S_OK;
}

/* The folder of the runtime and, below it, that of its jvm.dll. */
static inline int32_t qv_find_runtime(const wchar_t* path, qv_text* runtime, qv_text* jvm_folder, qv_text* why) {
  qv_add_path(runtime, path);
  while (runtime->length > 1 && qv_is_separator(runtime->units[runtime->length - 1])) {
    runtime->units[--runtime->length] = 0;
  }
  for (int i = 0; i < 4 && !runtime->failed; ++i) {
    const wchar_t* const below = i == 0   ? L"\\bin\\server"
                                 : i == 1 ? L"\\bin\\client"
                                 : i == 2 ? L"\\jre\\bin\\server"
                                          : L"\\jre\\bin\\client";
    qv_text file = {NULL, 0, 0, 0};
    qv_text_add(&file, runtime->units);
    qv_text_add(&file, below);
    qv_text_add(&file, L"\\jvm.dll");
    const int found = !file.failed && qv_has_file(file.units, 0);
    qv_text_free(&file);
    if (!found) continue;
    qv_text_add(jvm_folder, runtime->units);
    qv_text_add(jvm_folder, below);
    return jvm_folder->failed ? QV_E_OUTOFMEMORY : QV_S_OK;
  }
  if (runtime->failed) return QV_E_OUTOFMEMORY;
  qv_text_add(why, L"there is no Java runtime, bin\\server\\jvm.dll, in ");
  qv_text_add(why, runtime->units);
  return QV_E_INVALIDARG;
}

/* ---- the log ---- */

/* logFile.2 becomes logFile.3, and so on; the last one goes. */
static inline int32_t qv_keep_logs(const wchar_t* path, int32_t kept) {
  int failed = 0;
  for (int32_t i = kept; i > 0 && !failed; --i) {
    qv_text from = {NULL, 0, 0, 0};
    qv_text to = {NULL, 0, 0, 0};
    qv_text_add(&from, path);
    if (i > 1) {
      qv_text_add(&from, L".");
      qv_text_add_number(&from, QV_START_VALUE(uint64_t, i - 1));
    }
    qv_text_add(&to, path);
    qv_text_add(&to, L".");
    qv_text_add_number(&to, QV_START_VALUE(uint64_t, i));
    failed = from.failed || to.failed;
    if (!failed) MoveFileExW(from.units, to.units, MOVEFILE_REPLACE_EXISTING);
    qv_text_free(&from);
    qv_text_free(&to);
  }
  return failed ? QV_E_OUTOFMEMORY : QV_S_OK;
}

/* ---- the start ---- */

/* A variable of the environment, kept to be put back; null when it was not there. */
static inline int qv_take_variable(const wchar_t* name, qv_text* value) {
  DWORD capacity = GetEnvironmentVariableW(name, NULL, 0);
  while (capacity != 0) {
    if (!qv_text_room(value, capacity)) return 0;
    const DWORD units = GetEnvironmentVariableW(name, value->units, QV_START_VALUE(DWORD, value->capacity));
    value->units[units < value->capacity ? units : 0] = 0;
    if (units < value->capacity) return 1;
    capacity = units;
  }
  return 1;
}

static inline int qv_jvm_runs(void) {
  const HMODULE jvm = GetModuleHandleW(L"jvm.dll");
  void* vm = NULL;
  int32_t count = 0;
  qv_created_vms created;
  if (jvm == NULL) return 0;
  created = QV_START_CAST(qv_created_vms, QV_START_CAST(qv_any_function, GetProcAddress(jvm, "JNI_GetCreatedJavaVMs")));
  return created != NULL && created(&vm, 1, &count) == 0 && count > 0;
}

/* Why there is no Java VM, as far as it can be seen from outside. */
static inline void qv_explain(qv_text* why) {
  qv_text path = {NULL, 0, 0, 0};
  const HMODULE loaded = GetModuleHandleW(L"jvm.dll");
  qv_text_add(why, L"no Java VM: ");
  if (qv_text_room(&path, 32768)) {
    if (loaded != NULL && GetModuleFileNameW(loaded, path.units, 32768) != 0) {
      qv_text_add(why, path.units);
      qv_text_add(why, L" refused to start");
    } else if (SearchPathW(NULL, L"jvm.dll", NULL, 32768, path.units, NULL) != 0) {
      const HMODULE again = LoadLibraryExW(path.units, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
      const DWORD error = again == NULL ? GetLastError() : 0;
      if (again != NULL) FreeLibrary(again);
      qv_text_add(why, path.units);
      qv_text_add(why, again == NULL ? L" cannot be loaded, Windows error " : L" could not be used");
      if (again == NULL) qv_text_add_number(why, error);
    } else {
      qv_text home = {NULL, 0, 0, 0};
      qv_text_add(why, L"no Java runtime was found; JAVA_HOME is ");
      qv_take_variable(L"JAVA_HOME", &home);
      qv_text_add(why, qv_text_of(&home)[0] != 0 ? home.units : L"not set");
      qv_text_free(&home);
    }
  }
  qv_text_add(why, L". qvjvm-doctor.exe tells what was tried; what Java says itself is in vm.out, ");
  path.length = 0;
  if (path.units != NULL) path.units[0] = 0;
  qv_take_variable(L"LOCALAPPDATA", &path);
  qv_text_add(why, L"in ");
  qv_text_add(why, qv_text_of(&path)[0] != 0 ? path.units : L"the local application data");
  qv_text_free(&path);
}

static inline HMODULE qv_load_service(const wchar_t* library) {
  qv_text full = {NULL, 0, 0, 0};
  HMODULE service = NULL;
  size_t i = 0;
  while (library[i] != 0 && !qv_is_separator(library[i])) ++i;
  if (library[i] == 0) return LoadLibraryW(library);
  /* With a path, the DLLs that it needs are looked for beside it. */
  {
    const DWORD units = GetFullPathNameW(library, 0, NULL, NULL);
    if (units != 0 && qv_text_room(&full, units) && GetFullPathNameW(library, units, full.units, NULL) != 0) {
      service = LoadLibraryExW(full.units, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
    }
  }
  {
    const DWORD error = GetLastError();
    qv_text_free(&full);
    SetLastError(error);
  }
  return service;
}

static inline uint32_t qv_what_is_asked(const qv_options* options) {
  return (options->heap != 0 ? QV_IGNORED_HEAP : 0) | (options->optionCount > 0 ? QV_IGNORED_OPTIONS : 0) |
         (options->propertyCount > 0 ? QV_IGNORED_PROPERTIES : 0) | (options->compiled ? QV_IGNORED_COMPILED : 0) |
         (options->classPathCount > 0 ? QV_IGNORED_CLASS_PATH : 0) |
         (options->runtime != NULL ? QV_IGNORED_RUNTIME : 0);
}

/* No JVM runs. */
static inline int32_t qv_create(QV_CreateJavaVMFn create, const qv_options* options, IQV_JavaVM** vm, qv_text* why) {
  qv_text class_path = {NULL, 0, 0, 0};
  qv_text runtime = {NULL, 0, 0, 0};
  qv_text jvm_folder = {NULL, 0, 0, 0};
  qv_text old_home = {NULL, 0, 0, 0};
  const int needs_host = qv_has_options(options) || qv_has_properties(options) || options->runtime != NULL;
  qv_set_value set = NULL;
  int32_t status = qv_check_options(options, why);
  if (status >= 0) status = qv_make_class_path(options, &class_path, why);
  if (status >= 0 && options->runtime != NULL) status = qv_find_runtime(options->runtime, &runtime, &jvm_folder, why);
  if (status >= 0 && needs_host) {
    const HMODULE host = GetModuleHandleW(L"qvshr.dll");
    if (host != NULL) {
      set =
          QV_START_CAST(qv_set_value, QV_START_CAST(qv_any_function, GetProcAddress(host, "QvshrSetApplicationValue")));
    }
    if (set == NULL) {
      qv_text_add(why,
                  L"the host library qvshr.dll has no settings of an application (QvshrSetApplicationValue): heap, "
                  L"options, properties, compiled and the runtime are set in the registry");
      status = QV_E_NOTIMPL;
    }
  }
  if (status >= 0 && set != NULL) status = qv_set_configuration(set, options, runtime.units, jvm_folder.units, 0);
  if (status >= 0 && runtime.units != NULL) {
    if (!qv_take_variable(L"JAVA_HOME", &old_home)) {
      status = QV_E_OUTOFMEMORY;
    } else {
      SetEnvironmentVariableW(L"JAVA_HOME", runtime.units);
    }
  }
  if (status >= 0) {
    status = create(vm, class_path.units);
    if (status < 0) qv_explain(why);
    if (runtime.units != NULL) SetEnvironmentVariableW(L"JAVA_HOME", old_home.units);
  }
  if (status < 0 && set != NULL) qv_set_configuration(set, options, runtime.units, jvm_folder.units, 1);
  qv_text_free(&class_path);
  qv_text_free(&runtime);
  qv_text_free(&jvm_folder);
  qv_text_free(&old_home);
  return status;
}

/* The version resource of a module that is loaded: a header, the text VS_VERSION_INFO, and 40 bytes from the beginning
 * the signature and the words of the versions. */
static inline int32_t qv_module_version(HMODULE module) {
  const HRSRC found = module == NULL ? NULL : FindResourceW(module, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));
  const HGLOBAL loaded = found == NULL ? NULL : LoadResource(module, found);
  const unsigned char* const bytes = QV_START_VALUE(const unsigned char*, loaded == NULL ? NULL : LockResource(loaded));
  const uint16_t* words;
  if (bytes == NULL || SizeofResource(module, found) < 40 + 16) return 0;
  words = QV_START_CAST(const uint16_t*, bytes + 40);
  if (words[0] != 0x04BD || words[1] != 0xFEEF) return 0;
  return words[5] * 10000 + words[4] * 100 + words[7];
}

static inline int32_t qv_start_with(const wchar_t* library, const qv_options* options, IQV_JavaVM** vm,
                                    uint32_t* ignored, qv_text* why) {
  const HMODULE service = qv_load_service(library);
  QV_CreateJavaVMFn create = NULL;
  int32_t status = QV_S_OK;
  if (service == NULL) {
    const DWORD error = GetLastError();
    qv_text_add(why, L"cannot load ");
    qv_text_add(why, library);
    qv_text_add(why, L", Windows error ");
    qv_text_add_number(why, error);
    return error > 0 && error < 0x10000 ? QV_START_VALUE(int32_t, 0x80070000u | error) : QV_E_FAIL;
  }
  create = QV_START_CAST(QV_CreateJavaVMFn, QV_START_CAST(qv_any_function, GetProcAddress(service, "QV_CreateJavaVM")));
  if (create == NULL) {
    qv_text_add(why, library);
    qv_text_add(why, L" is not the Java VM Service");
    return QV_E_FAIL;
  }
  if (qv_jvm_runs()) {
    *ignored = qv_what_is_asked(options);
    status = create(vm, NULL);
    if (status < 0) qv_explain(why);
  } else {
    status = qv_create(create, options, vm, why);
    if (status == QV_S_CLASSPATH_IGNORED) *ignored = qv_what_is_asked(options); /* another thread was quicker */
  }
  if (status < 0 || *vm == NULL) return status < 0 ? status : QV_E_FAIL;
  if (options->logFile != NULL) {
    qv_text log = {NULL, 0, 0, 0};
    qv_add_path(&log, options->logFile);
    if (!log.failed && qv_keep_logs(log.units, options->logFilesKept) >= 0) {
      QV_START_SLOT(*vm, SetLogFileName, log.units);
    }
    qv_text_free(&log);
  }
  return QV_S_OK;
}

static inline void qv_tell_why(wchar_t* why, int32_t why_units, const wchar_t* text) {
  int32_t i = 0;
  if (why == NULL || why_units <= 0) return;
  for (; i + 1 < why_units && text[i] != 0; ++i) why[i] = text[i];
  why[i] = 0;
}

static inline int32_t qv_start_service(const wchar_t* library, const qv_options* options, IQV_JavaVM** vm,
                                       uint32_t* ignored, wchar_t* why, int32_t why_units) {
  static const qv_options none = {0, NULL, 0, NULL, 0, 0, NULL, 0, NULL, NULL, 0};
  qv_text reason = {NULL, 0, 0, 0};
  uint32_t too_late = 0;
  int32_t status = QV_E_INVALIDARG;
  if (vm != NULL) {
    *vm = NULL;
    status = qv_start_with(library != NULL ? library : L"qvjvm.dll", options != NULL ? options : &none, vm, &too_late,
                           &reason);
  }
  if (ignored != NULL) *ignored = too_late;
  qv_tell_why(why, why_units, status == QV_E_OUTOFMEMORY && reason.length == 0 ? L"no memory" : qv_text_of(&reason));
  qv_text_free(&reason);
  return status;
}

/* ---- beside the host's own work ---- */

struct qv_starting {
  const wchar_t* library;
  const qv_options* options;
  HANDLE done;
  HANDLE thread; /* null: it was done at once */
  IQV_JavaVM* vm;
  uint32_t ignored;
  int32_t status;
  wchar_t why[600];
};

static inline void qv_do_start(qv_starting* starting) {
  starting->status =
      qv_start_service(starting->library, starting->options, &starting->vm, &starting->ignored, starting->why, 600);
}

static inline DWORD WINAPI qv_start_thread(void* shared) {
  qv_starting* const starting = QV_START_VALUE(qv_starting*, shared);
  qv_do_start(starting);
  const int created = starting->status >= 0;
  SetEvent(starting->done); /* and then it is the other thread's */
  /* A thread that ends leaves the JVM, and can wait for a JVM that has just begun to start threads of its own. */
  while (created) Sleep(INFINITE);
  return 0;
}

static inline qv_starting* qv_begin_start_of(const wchar_t* library, const qv_options* options) {
  static const wchar_t here = 0; /* in the module that has this code */
  HMODULE self = NULL;
  qv_starting* const starting =
      QV_START_VALUE(qv_starting*, HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(qv_starting)));
  if (starting == NULL) return NULL;
  starting->library = library;
  starting->options = options;
  starting->done = CreateEventW(NULL, TRUE, FALSE, NULL);
  if (starting->done != NULL && !qv_jvm_runs() &&
      GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN, &here, &self)) {
    starting->thread = CreateThread(NULL, 0, &qv_start_thread, starting, 0, NULL);
  }
  if (starting->thread == NULL) qv_do_start(starting);
  return starting;
}

static inline int qv_has_started(const qv_starting* starting) {
  return starting == NULL || starting->thread == NULL || WaitForSingleObject(starting->done, 0) == WAIT_OBJECT_0;
}

static inline int32_t qv_finish_start_of(qv_starting* starting, IQV_JavaVM** vm, uint32_t* ignored, wchar_t* why,
                                         int32_t why_units) {
  int32_t status = QV_E_OUTOFMEMORY;
  if (vm == NULL) return QV_E_INVALIDARG;
  *vm = NULL;
  if (ignored != NULL) *ignored = 0;
  qv_tell_why(why, why_units, L"no memory");
  if (starting == NULL) return status;
  if (!qv_has_started(starting)) {
    /* While the process ends other threads are gone, and nobody would ever say that it is done. */
    HANDLE either[2];
    either[0] = starting->done;
    either[1] = starting->thread;
    WaitForMultipleObjects(2, either, FALSE, INFINITE);
    if (!qv_has_started(starting)) {
      qv_tell_why(why, why_units, L"the thread that starts Java is gone, because the process ends");
      return QV_E_FAIL;
    }
  }
  status = starting->status;
  *vm = starting->vm;
  if (ignored != NULL) *ignored = starting->ignored;
  qv_tell_why(why, why_units, starting->why);
  if (starting->thread != NULL) CloseHandle(starting->thread);
  if (starting->done != NULL) CloseHandle(starting->done);
  HeapFree(GetProcessHeap(), 0, starting);
  return status;
}

#endif
