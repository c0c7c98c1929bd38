#import <Foundation/Foundation.h>

#include "plugin/frame/system_log.h"

namespace vornik {

void writeSystemLog(const char* text) noexcept {
  @autoreleasepool {
    NSLog(@"%s\n", text);
  }
}

}  // namespace vornik
