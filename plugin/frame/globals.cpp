#include "plugin/frame/globals.h"

namespace vornik {

REALresolver gResolver = nullptr;
double rbversion_rbversion = 0.0;
std::int32_t CurrentREALControlVersion = kCurrentREALControlVersion;
bool DebuggingEnabled = false;
const char* gpartname = nullptr;

}  // namespace vornik
