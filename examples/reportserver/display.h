// What the user sees: a bar for each document that is being converted, or plain lines where there is no console.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace reportserver {

/// Any thread may call it. Each worker has a place, from 0.
class Display {
 public:
  explicit Display(size_t places);
  ~Display();
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;

  void Begin(size_t place, const std::wstring& name);
  void Page(size_t place, int page);
  /// Something worth a line of its own.
  void Print(const std::wstring& line);
  /// The same on the error output.
  void Complain(const std::wstring& text);
  /// The place is free.
  void End(size_t place);

 private:
  struct Bar {
    std::wstring name;  ///< empty: nothing is converted here
    int page = 0;
  };

  void Erase();
  void Draw();

  std::mutex lock_;
  std::vector<Bar> bars_;
  size_t drawn_ = 0;
  bool console_ = false;
};

/// Writes text as the console shows it, and as UTF-8 into a file or a pipe.
void Write(unsigned long stream, const std::wstring& text);

}  // namespace reportserver
