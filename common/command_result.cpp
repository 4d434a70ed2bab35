// The helper that runs a shell command and brings back what it prints.

#include "kqutm/common.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr size_t line_size = 128;

struct end_command {
    void operator()(FILE* output) const { pclose(output); }
};
using command_output = std::unique_ptr<FILE, end_command>;

// Deliberate: a buffer of up to 128 bytes gets the first line alone, or what of it one reading took.
void collect(FILE* from, char* out, size_t size)
{
    char line[line_size];
    size_t length = 0;
    while (feof(from) == 0) {
        if (fgets(line, sizeof line, from) == nullptr) // at the end, or interrupted by a signal
            continue;
        const bool last = size <= line_size || length + line_size > size;
        const size_t piece = std::min(strlen(line), size - 1 - length);
        memcpy(out + length, line, piece);
        length += piece;
        out[length] = '\0';
        if (last)
            return;
    }
}

void strip_newline_of(char* out)
{
    const size_t length = strlen(out);
    if (length > 0 && out[length - 1] == '\n')
        out[length - 1] = '\0';
}

} // namespace

UTM_API void utm_getSystemCommandResult(const char* command, char* out, int out_size, int strip_newline)
{
    if (command == nullptr || out == nullptr || out_size < 1)
        return;
    command_output output(popen(command, "re"));
    if (output == nullptr)
        return;
    const auto size = static_cast<size_t>(out_size);
    memset(out, 0, size);
    collect(output.get(), out, size);
    output.reset();
    if (strip_newline != 0)
        strip_newline_of(out);
}
