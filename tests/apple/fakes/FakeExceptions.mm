#include "fakes/Fake.h"

#import <Foundation/Foundation.h>

std::string fake::exceptionOf(void (^block)(void)) {
  @try {
    block();
  } @catch (NSException* exception) {
    return std::string([[exception name] UTF8String]) + ": " + [[exception reason] UTF8String];
  }
  return {};
}
