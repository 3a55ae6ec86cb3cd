#include "tests/support/guard_page.h"

#include <cstring>
#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace support {
namespace {

#ifdef _WIN32
std::size_t pageSize() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}
void* mapPages(std::size_t size) { return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE); }
void forbid(void* page, std::size_t size) {
    DWORD before;
    if (!VirtualProtect(page, size, PAGE_NOACCESS, &before)) throw std::bad_alloc();
}
void unmapPages(void* pages, std::size_t) { VirtualFree(pages, 0, MEM_RELEASE); }
#else
std::size_t pageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
void* mapPages(std::size_t size) {
    void* pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}
void forbid(void* page, std::size_t size) {
    if (mprotect(page, size, PROT_NONE) != 0) throw std::bad_alloc();
}
void unmapPages(void* pages, std::size_t size) { munmap(pages, size); }
#endif

}  // namespace

GuardedBytes::GuardedBytes(const std::string& bytes) : size_(bytes.size()) {
    std::size_t page = pageSize();
    std::size_t open = (size_ + page - 1) / page * page;
    mapped_ = page + open + page;
    pages_ = mapPages(mapped_);
    if (!pages_) throw std::bad_alloc();
    char* const end = static_cast<char*>(pages_) + page + open;
    bytes_ = end - size_;
    std::memcpy(bytes_, bytes.data(), size_);
    forbid(pages_, page);
    forbid(end, page);
}

GuardedBytes::~GuardedBytes() { unmapPages(pages_, mapped_); }

}  // namespace support
