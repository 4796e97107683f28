// One table: what stands before and behind the name that the JVM tells, what it means, what helps.
#include "doctor/start_messages.h"

#include <algorithm>
#include <string_view>

namespace doctor {

namespace {

struct Row {
  std::wstring_view before;  // found anywhere in a line
  std::wstring_view behind;  // the name goes up to here; empty: to the end of the line
  std::wstring_view cause;   // % is the name
  std::wstring_view remedy;
  bool last = false;  // said only when nothing else is: it tells that, not why
};

constexpr Row kRows[] = {
    {L"Unrecognized VM option '", L"'", L"Java does not know the option %", L"Remove it."},
    {L"Unrecognized option: ", L"", L"Java does not know the option %", L"Remove it."},
    {L"Improperly specified VM option '", L"'", L"Java cannot read the option %", L"Correct or remove it."},
    {L"Missing +/- setting for VM option '", L"'", L"the option % needs a + or - behind -XX:", L"Correct it."},
    {L"Unexpected +/- setting in VM option '", L"'", L"the option % takes a value, no + or -", L"Correct it."},
    {L"VM option '", L"' is experimental", L"the option % is an experiment of this Java",
     L"Remove it, or set -XX:+UnlockExperimentalVMOptions before it."},
    {L"VM option '", L"' is diagnostic", L"the option % is for diagnosis",
     L"Remove it, or set -XX:+UnlockDiagnosticVMOptions before it."},
    {L"Invalid maximum heap size: ", L"", L"% is no size of a heap", L"Write a number with k, m or g."},
    {L"Invalid initial heap size: ", L"", L"% is no size of a heap", L"Write a number with k, m or g."},
    {L"Invalid thread stack size: ", L"", L"% is no size of a stack", L"Write a number with k or m."},
    {L"Too small maximum heap", L"", L"the largest heap, -Xmx, is too small for Java",
     L"Allow more, such as -Xmx128m."},
    {L"Too small initial heap", L"", L"the first heap, -Xms, is too small for Java", L"Allow more."},
    {L"Initial heap size set to a larger value than the maximum heap size", L"",
     L"the first heap, -Xms, is larger than the largest, -Xmx", L"Lower -Xms or raise -Xmx."},
    {L"Incompatible minimum and maximum heap sizes", L"", L"the first heap, -Xms, is larger than the largest, -Xmx",
     L"Lower -Xms or raise -Xmx."},
    {L"Incompatible initial and maximum heap sizes", L"", L"the first heap, -Xms, is larger than the largest, -Xmx",
     L"Lower -Xms or raise -Xmx."},
    {L"The specified size exceeds the maximum representable size", L"", L"a size among the options is too large",
     L"Lower it."},
    {L"exceeds the maximum representable size", L"", L"a size among the options is too large", L"Lower it."},
    {L"Could not reserve enough space for ", L"", L"there is not enough memory for %", L"Lower -Xmx."},
    {L"The size of the object heap + VM data exceeds", L"", L"the heap, -Xmx, does not fit into memory",
     L"Lower -Xmx."},
    {L"There is insufficient memory for the Java Runtime Environment", L"", L"there is not enough memory for Java",
     L"Lower -Xmx, or end other programs."},
    {L"Multiple garbage collectors selected", L"", L"the options choose two garbage collectors", L"Leave one of them."},
    {L"Conflicting collector combinations", L"", L"the options choose two garbage collectors", L"Leave one of them."},
    {L"java.lang.module.FindException: Module ", L" not found", L"the Java runtime has no module %",
     L"Use a runtime that has it, or remove the option that names it."},
    {L"Could not find agent library ", L" on", L"the agent % is not found", L"Remove -agentlib or -agentpath."},
    {L"Error opening zip file or JAR manifest missing : ", L"", L"the agent % is no jar, or not there",
     L"Remove -javaagent, or correct its path."},
    {L"has been compiled by a more recent version of the Java Runtime (class file version ", L".",
     L"classes are for a newer Java: their version is %, which is 44 and the version of Java",
     L"Use that version of Java or a newer one."},
    {L"Failed setting boot class path", L"", L"Java finds no class library, lib\\modules, or cannot use it",
     L"Install the Java runtime anew."},
    {L"Unable to load native library: ", L"", L"a library of the Java runtime cannot be loaded: %",
     L"Install the Java runtime anew."},
    {L"Failed to load ", L" library", L"a library of the Java runtime cannot be loaded: %",
     L"Install the Java runtime anew."},
    {L"UnsatisfiedLinkError: ", L"", L"a library of the Java runtime cannot be loaded: %",
     L"Install the Java runtime anew."},
    {L"Error loading java.security file", L"", L"Java cannot read its conf\\security\\java.security",
     L"Install the Java runtime anew."},
    {L"java.lang.NoClassDefFoundError: ", L"", L"the class % is not found",
     L"Repair the class path or the Java runtime."},
    {L"java.lang.ClassNotFoundException: ", L"", L"the class % is not found",
     L"Repair the class path or the Java runtime."},
    {L"trial: ", L"", L"Java starts, but: %", L"Install the Java runtime anew."},
    {L"# Problematic frame:", L"", L"Java crashed; its hs_err file tells more", L"Install the Java runtime anew.",
     true},
    {L"Error occurred during initialization of boot layer", L"", L"Java refuses its modules or its class path: %",
     L"Look at the options that name modules.", true},
    {L"Error occurred during initialization of VM", L"", L"Java cannot start: %",
     L"See its output below; else install the Java runtime anew.", true},
};

// The next line, for those that tell the reason there.
std::wstring Following(const std::vector<std::wstring>& lines, size_t at) {
  return at + 1 < lines.size() ? lines[at + 1] : std::wstring();
}

void Collect(const std::vector<std::wstring>& lines, bool last, std::vector<StartMessage>& messages) {
  for (const Row& row : kRows) {
    if (row.last != last) continue;
    for (size_t i = 0; i < lines.size(); ++i) {
      const size_t at = lines[i].find(row.before);
      if (at == std::wstring::npos) continue;
      const size_t begin = at + row.before.size();
      const size_t end = row.behind.empty() ? lines[i].size() : lines[i].find(row.behind, begin);
      if (end == std::wstring::npos) continue;
      std::wstring name = row.last ? Following(lines, i) : lines[i].substr(begin, end - begin);
      StartMessage message = {std::wstring(row.cause), std::wstring(row.remedy), name};
      const size_t place = message.cause.find(L'%');
      if (place == std::wstring::npos) {
        message.subject.clear();
      } else {
        message.cause.replace(place, 1, name);
      }
      const bool said = std::any_of(messages.begin(), messages.end(),
                                    [&](const StartMessage& each) { return each.cause == message.cause; });
      if (!said) messages.push_back(std::move(message));
    }
  }
}

}  // namespace

std::vector<StartMessage> Recognise(const StartResult& start) {
  std::vector<StartMessage> messages;
  for (const bool last : {false, true}) {
    if (!messages.empty()) break;
    Collect(start.output, last, messages);
    Collect(start.logTail, last, messages);
  }
  return messages;
}

}  // namespace doctor
