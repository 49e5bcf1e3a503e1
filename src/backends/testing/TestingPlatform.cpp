#include "backends/testing/TestingPlatform.h"

namespace vemora {

std::unique_ptr<Platform> createPlatform() {
  return std::make_unique<testing::TestingPlatform>();
}

namespace testing {

TestingPlatform::TestingPlatform() = default;

TestingPlatform& TestingPlatform::current() {
  return static_cast<TestingPlatform&>(Platform::shared());
}

void TestingPlatform::reset() {
  inUse_->reset();
  application_ = nullptr;
  inUse_->reset();  // Destroying the windows may have queued work.
  fakes_ = std::make_unique<Fakes>();
  application_ = std::make_unique<FakeApplication>();
}

FakeApplication& TestingPlatform::fakeApplication() {
  return *application_;
}

}  // namespace testing
}  // namespace vemora
