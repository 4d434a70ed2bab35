// The program at a terminal.

#include "tests/sandbox/terminal.h"

#include <csignal>
#include <cstddef>
#include <cstdlib>

namespace {

// Each test interrupts a cat that reads the terminal: by what it has shown, nothing catches the signal any more.
constexpr char interrupt[] = "\x03";

TEST(at_a_terminal, the_command_gets_the_interrupt)
{
    terminal run({KQUTM_GATEWAY, "run", "--", "cat", "/etc/passwd", "-"});
    ASSERT_TRUE(run.shows("root:")) << run.screen();
    run.type(interrupt);
    EXPECT_EQ(run.status(), 128 + SIGINT);
}

TEST(at_a_terminal, the_command_decides_what_an_interrupt_does)
{
    terminal run({KQUTM_GATEWAY, "run", "--", "bash", "-c",
                  "trap 'utm-gateway state user_profile; exit 7' INT; cat /etc/passwd -"});
    ASSERT_TRUE(run.shows("root:")) << run.screen();
    run.type(interrupt);
    EXPECT_TRUE(run.shows("\"profiles\": []")) << run.screen();
    EXPECT_EQ(run.status(), 7);
}

// The prompt shows where the user is; an interrupt ends what the shell runs, not the shell.
void use_shell(const char* path)
{
    const std::string variable = std::string("SHELL=") + path;
    terminal shell({"env", variable.c_str(), KQUTM_GATEWAY, "shell", "--fault", "cf:1:refuse=5"});
    ASSERT_TRUE(shell.shows("(gateway) ")) << shell.screen();
    shell.type("utm-gateway fault cf\n");
    EXPECT_TRUE(shell.shows("1:refuse=5\r\n")) << shell.screen();
    shell.type("cat /etc/passwd -\n");
    EXPECT_TRUE(shell.shows("root:")) << shell.screen();
    shell.type(interrupt);
    ASSERT_TRUE(shell.shows("^C") && shell.shows("(gateway) ")) << shell.screen();
    shell.type("echo still $((6 * 7))\n");
    EXPECT_TRUE(shell.shows("still 42")) << shell.screen();
    shell.type("exit 9\n");
    EXPECT_EQ(shell.status(), 9) << shell.screen();
    EXPECT_EQ(shell.screen().find("process group"), std::string::npos) << shell.screen();
}

TEST(at_a_terminal, bash_works)
{
    use_shell("/bin/bash");
}

TEST(at_a_terminal, sh_works)
{
    use_shell("/bin/sh");
}

TEST(at_a_terminal, the_foreground_goes_back_to_the_caller)
{
    terminal caller({"sh", "-c", "SHELL=/bin/sh " KQUTM_GATEWAY " shell; read line && echo \"got $line\""});
    ASSERT_TRUE(caller.shows("(gateway) ")) << caller.screen();
    caller.type("exit\n");
    caller.type("words\n");
    EXPECT_TRUE(caller.shows("got words")) << caller.screen();
    EXPECT_EQ(caller.status(), 0);
}

} // namespace
