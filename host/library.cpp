#include "host/library.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <system_error>

#include "fmt/format.h"

namespace vornik::host {

namespace {

namespace fs = std::filesystem;

/// A file of its own name for as long as the loader needs it.
class TemporaryCopy {
 public:
  explicit TemporaryCopy(const fs::path& original)
      : path_((fs::temp_directory_path() / "vornik-library-XXXXXX").string()) {
    const int file = mkstemp(path_.data());
    if (file < 0) throw fs::filesystem_error("no temporary file", path_, {errno, std::generic_category()});
    close(file);
    std::error_code error;
    if (!fs::copy_file(original, path_, fs::copy_options::overwrite_existing, error)) {
      unlink(path_.c_str());
      throw std::runtime_error(fmt::format("cannot load {}: {}", original.string(), error.message()));
    }
  }
  ~TemporaryCopy() { unlink(path_.c_str()); }
  TemporaryCopy(const TemporaryCopy&) = delete;
  TemporaryCopy& operator=(const TemporaryCopy&) = delete;

  const char* path() const { return path_.c_str(); }

 private:
  std::string path_;
};

}  // namespace

decltype(&REALPluginMain) loadPrivateCopy(const fs::path& library) {
  // The loader knows a library by its file, and so hands out the same mapping for the same file. A mapped
  // file keeps its identity after its name is gone, so no later copy can be taken for this one.
  const TemporaryCopy copy(library);
  void* mapped = dlopen(copy.path(), RTLD_NOW | RTLD_LOCAL);
  if (mapped == nullptr)
    throw std::runtime_error(fmt::format("cannot load {}: {}", library.string(), dlerror()));
  void* entry = dlsym(mapped, "REALPluginMain");
  if (entry == nullptr) {
    throw std::runtime_error(fmt::format("{} does not export REALPluginMain", library.string()));
  }
  return reinterpret_cast<decltype(&REALPluginMain)>(entry);
}

}  // namespace vornik::host
