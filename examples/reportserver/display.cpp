#include "display.h"

#include <windows.h>

#include <algorithm>

namespace reportserver {
namespace {

constexpr size_t kNameUnits = 30;
constexpr size_t kBarUnits = 20;

/// Whether the standard output is a console that moves its cursor when it is told to.
bool BecomeConsole() {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(output, &mode) && SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

/// One unit for each page; FOP does not know beforehand how many there will be, so a full bar begins anew.
std::wstring BarOf(int page) {
  const size_t full = page == 0 ? 0 : (static_cast<size_t>(page) - 1) % kBarUnits + 1;
  return std::wstring(full, L'#') + std::wstring(kBarUnits - full, L'.');
}

std::wstring NameOf(std::wstring name) {
  name.resize(std::min(name.size(), kNameUnits));
  return name + std::wstring(kNameUnits - name.size(), L' ');
}

}  // namespace

Display::Display(size_t places) : bars_(places), console_(BecomeConsole()) {}

Display::~Display() { Erase(); }

void Display::Begin(size_t place, const std::wstring& name) {
  const std::lock_guard guard(lock_);
  bars_[place] = {name, 0};
  Erase();
  Draw();
}

void Display::Page(size_t place, int page) {
  const std::lock_guard guard(lock_);
  bars_[place].page = page;
  Erase();
  Draw();
}

void Display::Print(const std::wstring& line) {
  const std::lock_guard guard(lock_);
  Erase();
  Write(STD_OUTPUT_HANDLE, line + L"\r\n");
  Draw();
}

void Display::Complain(const std::wstring& text) {
  const std::lock_guard guard(lock_);
  Erase();
  Write(STD_ERROR_HANDLE, text + L"\r\n");
  Draw();
}

void Display::End(size_t place) {
  const std::lock_guard guard(lock_);
  bars_[place] = {};
  Erase();
  Draw();
}

// The cursor stands below the bars.
void Display::Erase() {
  if (drawn_ > 0) Write(STD_OUTPUT_HANDLE, L"\x1b[" + std::to_wstring(drawn_) + L"A\x1b[J");
  drawn_ = 0;
}

void Display::Draw() {
  if (!console_) return;
  std::wstring lines;
  for (const Bar& bar : bars_) {
    if (bar.name.empty()) continue;
    lines += NameOf(bar.name) + L" [" + BarOf(bar.page) + L"] " +
             (bar.page == 0 ? L"reading" : L"page " + std::to_wstring(bar.page)) + L"\r\n";
    ++drawn_;
  }
  Write(STD_OUTPUT_HANDLE, lines);
}

void Write(unsigned long stream, const std::wstring& text) {
  const HANDLE handle = GetStdHandle(stream);
  DWORD mode = 0;
  DWORD written = 0;
  if (GetConsoleMode(handle, &mode)) {
    WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return;
  }
  const int units = static_cast<int>(text.size());
  std::string bytes(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

}  // namespace reportserver
