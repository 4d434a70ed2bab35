#include "tests/end_to_end/household_steps.h"

#include "tests/sandbox/files.h"

namespace {

std::string repeated(const std::string& text, size_t times)
{
    std::string all;
    for (size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

const std::string block = repeated("0123456789abcdef", 16);

constexpr char usage[] = R"({"today":30,"week":200,"month":900,)"
                         R"("apps":[{"app":3,"minutes":10},{"app":4,"minutes":20}],)"
                         R"("earlier_days":[{"app":3,"minutes":[5,0,258]}]})";

std::string plain_profile(const std::string& id)
{
    return R"({"id":)" + id + R"(,"devices":[]})";
}

std::string cf_profile(const std::string& id)
{
    return R"({"id":)" + id + R"(,"devices":[],"policy":0,"browsed_domains":[]})";
}

std::string app_profile(const std::string& id)
{
    return R"({"id":)" + id +
           R"(,"devices":[],"policy":0,)"
           R"("limits":{"daily_limit_enable":0,"daily_limit":0,"weekday_limits":[],"extension":0},)"
           R"("usage":{"today":0,"week":0,"month":0,"apps":[],"earlier_days":[]}})";
}

std::string cf_policy(const std::string& id)
{
    return R"({"id":)" + id + R"(,"block":null,"trusted_domains":[],"forbidden_domains":[],"keywords":[]})";
}

std::string app_policy(const std::string& id)
{
    return R"({"id":)" + id + R"(,"entries":[]})";
}

// One more than a record carries.
constexpr char eleven_entries[] = R"(["0000000000000001","0000000000000002","0000000000000003","0000000000000004",)"
                                  R"("0000000000000005","0000000000000006","0000000000000007","0000000000000008",)"
                                  R"("0000000000000009","000000000000000a","000000000000000b"])";

// Its policies are those that stand at this place.
step create_profile(const std::string& id, const std::string& place, const std::string& cf_place)
{
    return {"profile create " + id,
            {{"add", "/cf/profiles/" + cf_place, cf_profile(id)},
             {"add", "/app/profiles/" + place, app_profile(id)},
             {"add", "/user_profile/profiles/" + place, plain_profile(id)}}};
}

} // namespace

const char household_scenario[] =
    R"({"cf":{"state":{"profiles":[{"id":3,"browsed_domains":[{"domain":"school.example","value":0},)"
    R"({"domain":"games.example","value":12}]}]}},)"
    R"("app":{"state":{"status":{"first":1,"second":0,"third":4294967295}}}})";

const char household_start[] =
    R"({"cf":{"profiles":[{"id":3,"devices":[],"policy":0,"browsed_domains":[{"domain":"school.example","value":0},)"
    R"({"domain":"games.example","value":12}]}],"policies":[],"trusted_urls":[],"forbidden_urls":[],)"
    R"("web_safe_browsing":0,"web_category":0,"debug":0,"filtering":false,"commands":[],)"
    R"("kernel":{"enable":"0","hdf_enable":"no","redirect_url":""}},)"
    R"("app":{"profiles":[],"policies":[],"active":0,"debug":0,)"
    R"("status":{"first":1,"second":0,"third":4294967295},"signature":null,"export_interval":0},)"
    R"("user_profile":{"profiles":[]}})";

void write_household_files()
{
    write_file("/tmp/block", block.substr(0, 128) + "\n" + block.substr(128) + "\n");
    write_file("/tmp/urls", "http://bad.example/\n\nhttp://worse.example/\r\n");
    std::string entries;
    for (const auto& entry : sim::json::parse(eleven_entries))
        entries += entry.get<std::string>() + "\n";
    write_file("/tmp/entries", entries);
    write_file("/tmp/signature", "signature");
    write_file("/tmp/statistics", R"({"profiles":[{"id":7,)" + std::string(usage).substr(1) + "]}");
}

const std::vector<step> setting_up = {
    create_profile("7", "0", "1"),
    create_profile("8", "1", "2"),
    {"profile add-device 7 02:42:ac:11:00:05 02:42:ac:11:00:06",
     {{"replace", "/cf/profiles/1/devices", R"(["02:42:ac:11:00:05","02:42:ac:11:00:06"])"},
      {"replace", "/app/profiles/0/devices", R"(["02:42:ac:11:00:05","02:42:ac:11:00:06"])"},
      {"replace", "/user_profile/profiles/0/devices", R"(["02:42:ac:11:00:05","02:42:ac:11:00:06"])"}}},

    {"cf create-policy 70", {{"add", "/cf/policies/0", cf_policy("70")}}},
    {"cf create-policy 71", {{"add", "/cf/policies/1", cf_policy("71")}}},
    {"cf set-block 70 -f /tmp/block", {{"replace", "/cf/policies/0/block", "\"" + block + "\""}}},
    {"cf add-trusted-domain 70 school.example library.example",
     {{"replace", "/cf/policies/0/trusted_domains", R"(["school.example","library.example"])"}}},
    {"cf add-forbidden-domain 70 games.example",
     {{"replace", "/cf/policies/0/forbidden_domains", R"(["games.example"])"}}},
    {"cf add-keyword 70 casino betting", {{"replace", "/cf/policies/0/keywords", R"(["casino","betting"])"}}},
    {"cf add-keyword 71 casino", {{"replace", "/cf/policies/1/keywords", R"(["casino"])"}}},
    {"cf add-trusted-url http://good.example/", {{"add", "/cf/trusted_urls/0", R"("http://good.example/")"}}},
    {"cf add-forbidden-url http://first.example/ -f /tmp/urls",
     {{"replace", "/cf/forbidden_urls", R"(["http://first.example/","http://bad.example/","http://worse.example/"])"}}},
    {"cf redirect-page http://gateway/blocked",
     {{"replace", "/cf/kernel/redirect_url", R"("http://gateway/blocked")"}}},
    {"cf debug 3", {{"replace", "/cf/debug", "3"}}},
    {"cf safe-browsing on",
     {{"replace", "/cf/web_safe_browsing", "1"},
      {"replace", "/cf/filtering", "true"},
      {"replace", "/cf/commands", "[29]"},
      {"replace", "/cf/kernel/enable", R"("1")"},
      {"replace", "/cf/kernel/hdf_enable", R"("yes")"}}},
    {"cf web-category 5", {{"replace", "/cf/web_category", "5"}}},

    {"app create-policy 80", {{"add", "/app/policies/0", app_policy("80")}}},
    {"app create-policy 81", {{"add", "/app/policies/1", app_policy("81")}}},
    {"app set-entries 80 -f /tmp/entries", {{"replace", "/app/policies/0/entries", eleven_entries}}},
    {"app add-entries 81 0000000000000001", {{"add", "/app/policies/1/entries/0", R"("0000000000000001")"}}},
    {"app add-entries 81 ffffffffffffffff", {{"add", "/app/policies/1/entries/1", R"("ffffffffffffffff")"}}},
    {"app set-entries 81 0000000000000002", {{"replace", "/app/policies/1/entries", R"(["0000000000000002"])"}}},
    {"app activate on", {{"replace", "/app/active", "1"}}},
    {"app debug 2", {{"replace", "/app/debug", "2"}}},
    {"app update-signature /tmp/signature", {{"replace", "/app/signature", R"("/tmp/signature")"}}},
    {"app set-export-interval 60", {{"replace", "/app/export_interval", "60"}}},
    {"app import-statistics /tmp/statistics", {{"replace", "/app/profiles/0/usage", usage}}},

    {"profile bind-cf 7 70", {{"replace", "/cf/profiles/1/policy", "70"}}},
    {"profile bind-cf 8 71", {{"replace", "/cf/profiles/2/policy", "71"}}},
    {"profile bind-app 7 80", {{"replace", "/app/profiles/0/policy", "80"}}},
    {"profile set-daily-limit-enable 7 on", {{"replace", "/app/profiles/0/limits/daily_limit_enable", "1"}}},
    {"profile set-daily-limit 7 120", {{"replace", "/app/profiles/0/limits/daily_limit", "120"}}},
    {"profile set-weekday-limit 7 6 180",
     {{"add", "/app/profiles/0/limits/weekday_limits/0", R"({"weekday":6,"limit":180})"}}},
    {"profile set-weekday-limit 7 0 90",
     {{"add", "/app/profiles/0/limits/weekday_limits/1", R"({"weekday":0,"limit":90})"}}},
    {"profile set-weekday-limit 7 6 200",
     {{"replace", "/app/profiles/0/limits/weekday_limits/0", R"({"weekday":6,"limit":200})"}}},
    {"profile set-extension 7 30", {{"replace", "/app/profiles/0/limits/extension", "30"}}},
};

const std::vector<step> taking_back = {
    {"profile reset-extension 7", {{"replace", "/app/profiles/0/limits/extension", "0"}}},
    {"profile del-device 7 02:42:ac:11:00:05",
     {{"remove", "/cf/profiles/1/devices/0"},
      {"remove", "/app/profiles/0/devices/0"},
      {"remove", "/user_profile/profiles/0/devices/0"}}},

    {"cf del-trusted-domain 70 school.example", {{"remove", "/cf/policies/0/trusted_domains/0"}}},
    {"cf del-forbidden-domain 70 games.example", {{"remove", "/cf/policies/0/forbidden_domains/0"}}},
    {"cf del-keyword 70 casino", {{"remove", "/cf/policies/0/keywords/0"}}},
    {"cf del-trusted-url http://good.example/", {{"remove", "/cf/trusted_urls/0"}}},
    {"cf del-forbidden-url -f /tmp/urls", {{"replace", "/cf/forbidden_urls", R"(["http://first.example/"])"}}},
    {"cf flush-policy 4 70 --yes", {{"replace", "/cf/policies/0/block"}}},
    {"cf flush-policy 3 0 --yes",
     {{"replace", "/cf/policies/0/keywords", "[]"}, {"replace", "/cf/policies/1/keywords", "[]"}}},
    {"cf flush 2 --yes", {{"replace", "/cf/forbidden_urls", "[]"}}},
    {"cf redirect-page", {{"replace", "/cf/kernel/redirect_url", R"("")"}}},
    {"cf debug off", {{"replace", "/cf/debug", "0"}}},
    {"cf safe-browsing off", {{"replace", "/cf/web_safe_browsing", "0"}}},
    {"cf web-category off",
     {{"replace", "/cf/web_category", "0"},
      {"replace", "/cf/filtering", "false"},
      {"replace", "/cf/commands", "[29,28]"},
      {"replace", "/cf/kernel/enable", R"("0")"},
      {"replace", "/cf/kernel/hdf_enable", R"("no")"}}},
    {"cf switch-kernel on",
     {{"replace", "/cf/filtering", "true"},
      {"add", "/cf/commands/2", "29"},
      {"replace", "/cf/kernel/enable", R"("1")"},
      {"replace", "/cf/kernel/hdf_enable", R"("yes")"}}},
    {"cf activate", {}}, // both engines are off, and the filter as a whole has followed them
    {"cf switch-kernel 2",
     {{"replace", "/cf/filtering", "false"},
      {"add", "/cf/commands/3", "28"},
      {"replace", "/cf/kernel/enable", R"("2")"}}},
    {"cf flush 0 --yes",
     {{"replace", "/cf/policies", "[]"},
      {"replace", "/cf/profiles/0/browsed_domains", "[]"},
      {"replace", "/cf/profiles/1/policy", "0"},
      {"replace", "/cf/profiles/2/policy", "0"}}},

    {"app clear-entries 81 --yes", {{"replace", "/app/policies/1/entries", "[]"}}},
    {"app activate off", {{"replace", "/app/active", "0"}}},
    {"app debug off", {{"replace", "/app/debug", "0"}}},
    {"app set-export-interval 0", {{"replace", "/app/export_interval", "0"}}},

    {"profile delete 7",
     {{"remove", "/cf/profiles/1"},
      {"remove", "/app/profiles/0"},
      {"remove", "/app/policies/0"}, // the one that was bound to it
      {"remove", "/user_profile/profiles/0"}}},
    {"profile flush --yes",
     {{"remove", "/cf/profiles/1"}, {"remove", "/app/profiles/0"}, {"remove", "/user_profile/profiles/0"}}},
};

// The profile that the registry does not know stays, and what application control was set to besides.
const step reset_all = {"reset --yes",
                        {{"replace", "/cf/profiles", "[" + cf_profile("3") + "]"},
                         {"replace", "/cf/policies", "[]"},
                         {"replace", "/cf/trusted_urls", "[]"},
                         {"replace", "/cf/forbidden_urls", "[]"},
                         {"replace", "/cf/web_safe_browsing", "0"},
                         {"replace", "/cf/web_category", "0"},
                         {"replace", "/cf/filtering", "false"},
                         {"replace", "/cf/commands", "[29,28]"},
                         {"replace", "/cf/kernel/enable", R"("0")"},
                         {"replace", "/cf/kernel/hdf_enable", R"("no")"},
                         {"replace", "/app/profiles", "[]"},
                         {"remove", "/app/policies/0"},
                         {"replace", "/app/active", "0"},
                         {"replace", "/user_profile/profiles", "[]"}}};
