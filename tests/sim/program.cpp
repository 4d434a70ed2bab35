#include "tests/sim/program.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

outcome shell(const std::string& command)
{
    FILE* pipe = popen(("exec 2>&1; " + command).c_str(), "re");
    std::string output;
    std::array<char, 4096> piece;
    for (size_t size = 0; (size = fread(piece.data(), 1, piece.size(), pipe)) > 0;)
        output.append(piece.data(), size);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

outcome gateway(const std::string& arguments)
{
    return shell(KQUTM_GATEWAY " " + arguments);
}

std::string text_of(const fs::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

void program::SetUp()
{
    char name[] = "/tmp/sim_program.XXXXXX";
    folder_ = mkdtemp(name);
}
