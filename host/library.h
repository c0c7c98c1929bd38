// The library as a file that is loaded: the one place that talks to the system's loader.
#ifndef VORNIK_HOST_LIBRARY_H
#define VORNIK_HOST_LIBRARY_H

#include <filesystem>

#include "plugin/frame/host_interface.h"

namespace vornik::host {

/// Maps a private copy of the library, with its data in their initial state, and answers its entry point. The
/// copy stays mapped until the process ends. std::runtime_error, with the path, when that is not possible.
decltype(&REALPluginMain) loadPrivateCopy(const std::filesystem::path& library);

}  // namespace vornik::host

#endif  // VORNIK_HOST_LIBRARY_H
