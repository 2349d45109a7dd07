#include "repository/SchemaGeneration.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "vela/AdapterUtils.h"

namespace tarn {

namespace {
constexpr std::size_t kMapSize = 4096;
}

SchemaGeneration::SchemaGeneration(const VELString& databasePath) {
    VELString path = databasePath + "-schema";
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        AdapterUtils::log("tarn::SchemaGeneration",
                          "Cannot open " + path + " (" + VELString(std::strerror(errno)) +
                              "): schema changes made by other processes need a restart",
                          2);
        return;
    }
    struct stat st {};
    // A new file is grown to one page of zeros; every process grows it alike.
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) &&
        (static_cast<std::size_t>(st.st_size) >= kMapSize || ::ftruncate(fd, kMapSize) == 0)) {
        void* map = ::mmap(nullptr, kMapSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (map != MAP_FAILED) {
            _map = map;
            _count = static_cast<std::uint64_t*>(map);
        }
    }
    ::close(fd);
    if (!_map) {
        AdapterUtils::log(
            "tarn::SchemaGeneration",
            "Cannot map " + path + ": schema changes made by other processes need a restart", 2);
    }
}

SchemaGeneration::~SchemaGeneration() {
    if (_map) {
        ::munmap(_map, kMapSize);
    }
}

}  // namespace tarn
