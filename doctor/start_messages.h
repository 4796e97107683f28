// What a JVM says when it refuses to start, in our words. Pure.
#pragma once

#include <string>
#include <vector>

#include "doctor/facts.h"

namespace doctor {

struct StartMessage {
  std::wstring cause;
  std::wstring remedy;
  std::wstring subject;  // the option, file or class that the JVM names; empty when it names none
};

// Of the output and the log, each once and the most telling first; empty when nothing in them is known.
std::vector<StartMessage> Recognise(const StartResult& start);

}  // namespace doctor
