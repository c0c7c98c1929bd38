// Process-wide state of the frame: set once by REALPluginMain, read-only afterwards.
#ifndef VORNIK_FRAME_GLOBALS_H
#define VORNIK_FRAME_GLOBALS_H

#include <cstdint>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// Finds host services by name; null until the host has called REALPluginMain.
extern REALresolver gResolver;

/// The host's version as year and release (2019.02); 0.0 when the host reports none.
extern double rbversion_rbversion;

/// Version of the definition records as told to the host; the one written into each record it registers.
extern std::int32_t CurrentREALControlVersion;

/// Whether optional diagnostic lines are written.
extern bool DebuggingEnabled;

/// Name of this plugin in diagnostics; null until start-up has set it.
extern const char* gpartname;

}  // namespace vornik

#endif  // VORNIK_FRAME_GLOBALS_H
