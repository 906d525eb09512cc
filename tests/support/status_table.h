// Tables of {call, expected status}: the order of a family's tests.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "nyx.h"

namespace nyx::test {

struct StatusCase {
  std::string what;
  std::function<NyxStatus()> call;
  NyxStatus expected;
};

inline void ExpectStatuses(const std::vector<StatusCase>& cases) {
  for (const StatusCase& c : cases) {
    EXPECT_EQ(c.call(), c.expected) << c.what << ": " << nyxGetStatusString(c.expected);
  }
}

}  // namespace nyx::test
