#pragma once

#include <unistd.h>

namespace quillon::localstats {

// An open file descriptor, closed when it goes out of scope. Negative when the open failed.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

} // namespace quillon::localstats
