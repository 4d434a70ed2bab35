#include "tools/utmctl/log_tail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A regular file while it is open; nothing where there is none.
class log_file {
public:
    explicit log_file(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
        exists_ = fd_ >= 0 && fstat(fd_, &status_) == 0 && S_ISREG(status_.st_mode);
    }
    log_file(const log_file&) = delete;
    log_file& operator=(const log_file&) = delete;
    ~log_file()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    bool exists() const { return exists_; }
    log_place end() const { return exists_ ? log_place{status_.st_ino, status_.st_size} : log_place{}; }

    // From the start where it was emptied meanwhile.
    std::string text_from(off_t& offset) const
    {
        std::string text;
        char block[65536];
        if (offset > status_.st_size)
            offset = 0;
        for (ssize_t size; (size = pread(fd_, block, sizeof block, offset)) > 0; offset += size)
            text.append(block, static_cast<size_t>(size));
        return text;
    }

private:
    int fd_;
    struct stat status_ = {};
    bool exists_;
};

} // namespace

std::string older_generation(const std::string& path)
{
    return path + "2";
}

log_place end_of_log(const std::string& path)
{
    return log_file(path).end();
}

std::string read_log(const std::string& path, log_place& from)
{
    const log_file current(path);
    std::string text;
    if (current.end().inode != from.inode) {
        const log_file older(older_generation(path));
        if (older.exists() && older.end().inode == from.inode)
            text = older.text_from(from.offset);
        if (!current.exists())
            return text;
        from = {.inode = current.end().inode};
    }
    return current.exists() ? text + current.text_from(from.offset) : text;
}
