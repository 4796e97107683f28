// Deliberate: the file is opened and closed for every message, so that nothing is lost when the process dies.
// The JVM's formats are C99's ("%zu", "%lld"), which the old system C runtime does not know: base/compiler.h asks for
// a formatter that does.
#include "service/output_log.h"

#include <cwchar>

#include "base/compiler.h"
#include "config/jvm_config_info.h"

int32_t g_bJvmLogEnabled = 1;
bool g_bJvmLogStarted = false;

jint JNICALL JvmVfprintfHook(FILE*, const char* format, va_list args) noexcept {
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (g_bJvmLogEnabled == 0 || !config.m_bDebugMode) return 1;
  qv::StringRef path;
  config.GetLogFilePath(path.Out());
  if (!path) return -1;
  const bool append = g_bJvmLogStarted;
  FILE* const file = _wfopen(path->GetText(), append ? L"a" : L"w");
  if (file == nullptr) return -1;
  if (!append) std::fputs("*** Starting JVM Logging ***\n\n", file);
  g_bJvmLogStarted = true;
  const jint written = QV_VFPRINTF(file, format, args);
  std::fflush(file);
  std::fclose(file);
  return written;
}

void JNICALL JvmExitHook(jint) noexcept {}
