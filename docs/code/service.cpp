#include <windows.h>
#include "qvjvm/qvjvm.hpp"

namespace {

SERVICE_STATUS_HANDLE g_status;
const HANDLE g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);

void tell(DWORD state, DWORD error = NO_ERROR) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
  status.dwWin32ExitCode = error;
  status.dwWaitHint = 30000;  // milliseconds for Java to start
  SetServiceStatus(g_status, &status);
}

DWORD WINAPI on_control(DWORD control, DWORD, void*, void*) {
  if (control == SERVICE_CONTROL_INTERROGATE) return NO_ERROR;
  if (control != SERVICE_CONTROL_STOP && control != SERVICE_CONTROL_SHUTDOWN) return ERROR_CALL_NOT_IMPLEMENTED;
  tell(SERVICE_STOP_PENDING);
  SetEvent(g_stop);
  return NO_ERROR;
}

void say(const char* text) { OutputDebugStringA(text); }  // or the event log

void WINAPI service_main(DWORD, wchar_t** arguments) {
  g_status = RegisterServiceCtrlHandlerExW(arguments[0], on_control, nullptr);
  tell(SERVICE_START_PENDING);
  try {
    const qvjvm::jvm java = qvjvm::jvm::start(qvjvm::options()
                                                  .option("-Xrs")  // who logs off ends no Java
                                                  .runtime(L"JRE")
                                                  .log_file(L"java.log", 5)
                                                  .compiled());
    tell(SERVICE_RUNNING);
    do {
      java.call_static<"java/lang/System", "gc">();  // the work
    } while (WaitForSingleObject(g_stop, 1000) == WAIT_TIMEOUT);
    tell(SERVICE_STOPPED);
  } catch (const qvjvm::error& error) {
    say(error.what());
    tell(SERVICE_STOPPED, ERROR_EXCEPTION_IN_SERVICE);
  }
}

}  // namespace

int main() {
  wchar_t name[] = L"";  // Windows knows it
  const SERVICE_TABLE_ENTRYW services[] = {{name, service_main}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(services) != FALSE ? 0 : 1;
}
