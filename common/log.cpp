#include "common/log.h"

#include "common/errno_guard.h"
#include "common/files.h"
#include "common/shell.h"
#include "common/unique_fd.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char log_folder[] = "/tmp/utm_log";
constexpr off_t rotation_threshold = 5242880;
constexpr size_t command_size = 512;
constexpr size_t usual_message_size = 1024; // the longest message of the library's own has some 600 characters

void create_log(const char* path)
{
    if (!file_exists(log_folder))
        run_shell<command_size>("mkdir -p %s", log_folder);
    run_shell<command_size>("/bin/touch %s", path);
}

// A message that does not fit the usual buffer goes to the heap; without memory it is written as far as it fits.
class message {
public:
    UTM_PRINTF(2, 0) message(const char* format, va_list values)
    {
        va_list again;
        va_copy(again, values);
        const int length = vsnprintf(usual_, sizeof usual_, format, values);
        size_ = static_cast<size_t>(std::max(length, 0));
        if (size_ >= sizeof usual_)
            format_long(format, again);
        va_end(again);
    }
    message(const message&) = delete;
    message& operator=(const message&) = delete;
    ~message() { free(long_); }

    const char* text() const { return long_ != nullptr ? long_ : usual_; }
    size_t size() const { return size_; }

private:
    UTM_PRINTF(2, 0) void format_long(const char* format, va_list values)
    {
        long_ = static_cast<char*>(malloc(size_ + 1));
        if (long_ != nullptr)
            vsnprintf(long_, size_ + 1, format, values);
        else
            size_ = sizeof usual_ - 1;
    }

    char usual_[usual_message_size];
    char* long_ = nullptr;
    size_t size_;
};

} // namespace

int open_for_appending(const char* path)
{
    return open(path, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
}

void print_line(const char* line)
{
    errno_guard keep;
    fputs(line, stdout);
}

UTM_API void utm_log(const char* path, const char* format, ...)
{
    if (path == nullptr || format == nullptr)
        return;
    errno_guard keep;
    if (!file_exists(path))
        create_log(path);
    struct stat file;
    if (stat(path, &file) != 0)
        return;
    // Deliberate: the test comes before the write, so the message that crosses the threshold stays in the old file.
    if (file.st_size > rotation_threshold)
        run_shell<command_size>("/bin/mv %s %s2", path, path);
    unique_fd log(open_for_appending(path));
    if (log.get() < 0)
        return;
    va_list values;
    va_start(values, format);
    message line(format, values);
    va_end(values);
    (void)!write(log.get(), line.text(), line.size());
}
