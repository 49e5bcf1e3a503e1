#pragma once

#include "fakes/Fake.h"
#include "ports/Platform.h"

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

namespace vemora::apple {

/// Begins with a new window, and fails on what a test leaves behind: live objects of the backend and of the
/// platform, sessions that were not invalidated, and misuse that the fakes noticed.
class Case : public ::testing::Test {
 protected:
  Case();
  ~Case() override;

  void SetUp() override;
  void TearDown() override;

 private:
  void* pool_;
  std::map<std::string, int> before_;
};

}  // namespace vemora::apple
