// The points of the Java VM's invocation functions.
#pragma once

#include <vector>

#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/reliability/faults/fault_point.h"

namespace qvtest {

std::vector<Point> JvmPoints(const FakeJvm& jvm);

}  // namespace qvtest
