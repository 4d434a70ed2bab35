// What may come next on a line: asked of utmctl, and typed into the shells.

#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

struct completion {
    std::string typed;
    std::string offered; // one candidate a line
};

class completing : public testing::Test {
protected:
    completing() { register_ids({{profiles, 7}, {profiles + 9, 8}, {cf_policies, 70}, {app_policies + 3, 80}}); }
};

TEST_F(completing, it_follows_the_command_table)
{
    const completion completions[] = {
        {"profile bind-", "bind-app\nbind-cf\n"},
        {"-q --timeout 5 profile bind-", "bind-app\nbind-cf\n"},
        {"registry check ''", "app-policy\ncf-policy\nprofile\n"},
        {"registry check c", "cf-policy\n"},
        {"cf safe-browsing ''", "off\non\n"},
        {"ips switch of", "off\n"},
        {"help regi", "registry\n"},
        {"help profile del", "del-device\ndelete\n"},
        {"help profile delete ''", ""},
        {"wait ''", "all\napp\nav\ncf\ndevid\nips\nir\nuser_profile\n"},
        {"wait i", "ips\nir\n"},
        {"describe utm_uuid", "utm_uuid_get\nutm_uuid_set\n"},
        {"call utm_ips_a", "utm_ips_activate\n"},
        {"wait ips i", "ir\n"},
        {"wait cf a", "app\nav\n"},
        {"wait all ''", ""},
        {"watch --d", ""},
        {"watch profile list --e", ""},
        {"watch --i", "--interval\n"},
        {"call utm_uuid_get ''", "null\nout\n"},
        {"call utm_app_daemon_status out null ''", "null\nout\n"},
        {"call detach_utm_id_data_shm ''", "attached\nnull\n"},
        {"call utm_uuid_set ''", "null\n"},
        {"call utm_ips_activate ''", ""},
        {"call utm_ips_activate 1 ''", ""},
        {"call utm_frob ''", ""},
        {"cf dump ''", ":files\n"},
        {"cf add-keyword 70 -f ''", ":files\n"},
        {"devid ignore l", "lo\n"},
        {"devid devices --interface l", "lo\n"},
        {"watch profile map", "mapping\n"},
        {"watch --interval 5 registry check c", "cf-policy\n"},
        {"log d", "devid\n"},
        {"log -f ''", "common\nconfig\ndevid\nips\n"},
        {"batch --keep-going -f ''", ":files\n"},
        {"watch w", ""},
        {"watch registry ''", "audit\ncheck\nlock-status\nshow\n"},
        {"watch d", "devid\ndoctor\n"},
        {"watch s", "status\n"},
        {"--columns ''", ""},
        {"profile list --columns ''", "APP-POLICY\nCF-POLICY\nID\n"},
        {"profile list --columns ID,", "ID,APP-POLICY\nID,CF-POLICY\n"},
        {"profile list --columns cf-policy,I", "cf-policy,ID\n"},
        {"ips rules -q --columns ''", "RULE\n"},
        {"devid devices --ip 192.168.1.5 --columns T", "TYPE\n"},
        {"profile usage 7 --columns ''", "FIRST\nSECOND\nTHIRD\n"},
        {"watch --interval 5 profile list --columns C", "CF-POLICY\n"},
        {"status --columns MS,P", "MS,PID\nMS,PROCESS\n"},
        {"describe --columns ''", "DOES\nFAMILY\nFUNCTION\n"},
        {"doctor --columns ''", ""},
        {"wait cf --columns ''", ""},
        {"log --columns ''", ""},
        {"profile usage --columns ''", ""},
        {"profile create --columns ''", ""},
        {"uuid set -- -''", ""},
        {"reset --y", "--yes\n"},
        {"reset --yes --y", ""},
        {"--y", "--yes\n"},
        {"--yes reg", "registry\n"},
        {"devid devices --i", "--interface\n--ip\n"},
        {"--j", "--json\n--json=pretty\n"},
        {"--dr", "--dry-run\n"},
        {"profile list --no", "--no-headers\n"},
        {"--timeout ''", ""},
        {"reset ''", ""},
        {"nonsense ''", ""},
        {"profile nonsense ''", ""},
    };
    for (const completion& one : completions)
        EXPECT_EQ(utmctl("complete " + one.typed), (run_result{0, one.offered, ""})) << one.typed;
}

TEST_F(completing, it_offers_every_family)
{
    const std::string all = utmctl("complete").out;
    EXPECT_EQ(utmctl("complete ''").out, all);
    for (const char* family : {"app", "av", "cf", "devid", "help", "ips", "ir", "profile", "registry", "reset", "uuid"})
        EXPECT_NE(("\n" + all).find("\n" + std::string(family) + "\n"), std::string::npos) << family;
}

TEST_F(completing, it_offers_what_the_registry_holds)
{
    const completion completions[] = {
        {"profile delete ''", "7\n8\n"},
        {"profile delete 7 ''", "8\n"},
        {"profile create ''", ""},
        {"profile add-device ''", "7\n8\n"},
        {"profile bind-cf 7 ''", "70\n"},
        {"profile bind-app 7 ''", "80\n"},
        {"cf set-block ''", "70\n"},
        {"app add-entries ''", "80\n"},
        {"registry release profile ''", "7\n8\n"},
        {"registry release app-policy ''", "80\n"},
        {"registry reserve profile ''", ""},
    };
    for (const completion& one : completions)
        EXPECT_EQ(utmctl("complete " + one.typed), (run_result{0, one.offered, ""})) << one.typed;
    EXPECT_EQ(utmctl("complete profile delete -j ''").out, "7\n8\n");
}

TEST(completing_alone, it_neither_creates_nor_locks_the_registry)
{
    const std::string segments = content_of("/proc/sysvipc/shm");
    const std::string semaphores = content_of("/proc/sysvipc/sem");
    EXPECT_EQ(utmctl("complete profile delete ''"), (run_result{0, "", ""}));
    EXPECT_EQ(utmctl("complete profile list --columns I"), (run_result{0, "ID\n", ""}));
    EXPECT_EQ(utmctl("complete profile usage 7 --columns F"), (run_result{0, "FIRST\n", ""}));
    EXPECT_FALSE(exists("/tmp/utm_log"));
    EXPECT_EQ(content_of("/proc/sysvipc/shm"), segments);
    EXPECT_EQ(content_of("/proc/sysvipc/sem"), semaphores);
}

// Types the line and a tab: what the shell offers, and behind "= " what the line becomes.
std::string typed_into(const std::string& shell, const std::string& line)
{
    const std::string folder = KQUTM_SHELLS;
    const std::string command = "PATH=$(dirname " KQUTM_UTMCTL "):$PATH zsh -f " + folder + "/shells/type_in " +
                                folder + "/completions " + shell + " '" + line + "'";
    FILE* output = popen(command.c_str(), "re");
    std::string told;
    char piece[256];
    while (fgets(piece, sizeof piece, output) != nullptr)
        told += piece;
    EXPECT_EQ(pclose(output), 0);
    return told;
}

TEST_F(completing, bash_asks_it)
{
    write_file("/tmp/dump_1", "");
    EXPECT_EQ(typed_into("bash", "utmctl regi"), "registry\n= utmctl registry \n");
    EXPECT_EQ(typed_into("bash", "utmctl profile delete "), "7\n8\n= utmctl profile delete \n");
    EXPECT_EQ(typed_into("bash", "utmctl --json=p"), "pretty\n= utmctl --json=pretty \n");
    EXPECT_EQ(typed_into("bash", "utmctl cf dump /tmp/du"), "/tmp/dump_1\n= utmctl cf dump /tmp/dump_1 \n");
    EXPECT_EQ(typed_into("bash", "utmctl nonsense "), "= utmctl nonsense \n");
    write_file("/tmp/a dump", "");
    EXPECT_EQ(typed_into("bash", "utmctl cf dump /tmp/a\\ d"), "/tmp/a dump\n= utmctl cf dump /tmp/a\\ dump \n");
    EXPECT_EQ(typed_into("bash", "utmctl \"cf\" dump \"/tmp/a d"),
              "/tmp/a dump\n= utmctl \"cf\" dump \"/tmp/a dump\" \n");
    EXPECT_EQ(typed_into("bash", "utmctl batch -f /tmp/a\\ dump --kee"),
              "--keep-going\n= utmctl batch -f /tmp/a\\ dump --keep-going \n");
    EXPECT_EQ(typed_into("bash", "utmctl reg\\i"), "registry\n= utmctl registry \n");
    EXPECT_EQ(typed_into("bash", "utmctl \"reg\\i"), "= utmctl \"reg\\i\n");
}

TEST_F(completing, zsh_asks_it)
{
    write_file("/tmp/dump_1", "");
    EXPECT_EQ(typed_into("zsh", "utmctl regi"), "registry\n= utmctl registry \n");
    EXPECT_EQ(typed_into("zsh", "utmctl profile delete "), "7\n8\n= utmctl profile delete \n");
    EXPECT_EQ(typed_into("zsh", "utmctl --json=p"), "--json=pretty\n= utmctl --json=pretty \n");
    EXPECT_EQ(typed_into("zsh", "utmctl cf dump /tmp/du"), "dump_1\n= utmctl cf dump /tmp/dump_1 \n");
    EXPECT_EQ(typed_into("zsh", "utmctl nonsense "), "= utmctl nonsense \n");
    write_file("/tmp/a dump", "");
    EXPECT_EQ(typed_into("zsh", "utmctl cf dump /tmp/a\\ d"), "a\\ dump\n= utmctl cf dump /tmp/a\\ dump \n");
    EXPECT_EQ(typed_into("zsh", "utmctl \"cf\" batch"), "= utmctl \"cf\" batch\n");
}

} // namespace
