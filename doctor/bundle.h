// One file for support: the report in its three forms, the JVM's log and what it wrote when it crashed.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "doctor/facts.h"

namespace doctor {

struct BundledFile {
  std::string name;  // in the archive
  std::string content;
  std::string from;  // for the list; empty: made here
};

// As a zip without compression. Pure.
std::string AsZip(const std::vector<BundledFile>& files);

// What goes in, in its order; the list of it, contents.txt, is the first. Files of others lose their secrets unless
// those are wanted, and of a long one the end is taken.
std::vector<BundledFile> CollectBundle(const Facts& facts, bool withSecrets);

}  // namespace doctor
