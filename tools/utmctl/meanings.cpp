#include "tools/utmctl/meanings.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr char no_memory[] = "There was no memory for it.";
constexpr char list_lost[] = "There was no memory for an entry, so the whole list is lost.";
constexpr char no_list[] = "The daemon sent a list entry in answer to a request that has no list.";
constexpr char told_refused[] = "The daemon was not reached or did not accept; the line before tells which.";
constexpr char asked_in_vain[] = "The daemon was not reached or did not answer; the line before tells which.";
constexpr char daemon_refused[] = "The daemon answered that it did not do it.";
constexpr char bad_argument[] = "The library refused an argument, and sent nothing.";
constexpr char not_listening[] = "The daemon is not running, or its socket may not be used.";
constexpr char no_socket[] = "The process could not open a socket: it has too many descriptors open.";
constexpr char no_limit[] = "The system refused a time limit for the connection, and nothing was sent.";
constexpr char not_sent[] = "The connection broke before the daemon took the request.";
constexpr char no_answer[] = "The daemon did not answer in time, or broke the connection.";
constexpr char not_registered[] = "The registry does not hold that identifier, so nothing was sent.";
constexpr char device_not_told[] =
    "One of the daemons did not take the change of the device; the line before tells why.";
constexpr char not_bound[] = "The registry has the binding, but the daemon did not take it. The line names the profile "
                             "where it says policy, and the policy where it says profile.";
constexpr char no_segment[] = "The shared memory could not be attached: another object may have its key.";
constexpr char no_identifier[] = "No identifier was reserved: the registry holds that one, is full, or cannot be used.";
constexpr char trace[] = "This is no failure: it notes an entry of a list that came.";
constexpr char node_lost[] = "There was no memory for an entry of a list.";

constexpr meaning meanings[] = {
    {"%s fail", told_refused},
    {"%s(%d) fail", told_refused},
    {"%s(%d) list init fail", no_memory},
    {"%s(weekday=%d, limit=%d) fail", told_refused},
    {"%s: number is less than 1, ignore it!", "There were no entries to add, so nothing was sent; that is a success."},
    {"Can't bind unix address: %s(%s)", "The daemon could not take its place in the file system, and does not listen."},
    {"Can't set unix socket options: %s(%s)", "The daemon's socket could not be prepared, and it does not listen."},
    {"Could not create socket", no_socket},
    {"Open /proc/net/cfilter_redirect_url fail.", "The content filter's kernel module is not loaded, or may not be "
                                                  "written to."},
    {"Reach maximum customizelist rule number", "The list ends here: the engine holds as many rules as it can."},
    {"The string length is too long.", "The text does not fit its field, and was refused."},
    {"[%s] app is NULL", no_list},
    {"[%s] app_prev_days is NULL", no_list},
    {"[%s] app_weekday_limit is NULL", no_list},
    {"[%s] domain_list is NULL", no_list},
    {"[%s] fail(activate = %d)", told_refused},
    {"[%s] fail(flush_type = %d)", told_refused},
    {"[%s] fail(flush_type = %d, cf_policy_id = %d)", told_refused},
    {"[%s] new_app malloc fail", list_lost},
    {"[%s] new_app_prev_days malloc fail", list_lost},
    {"[%s] new_app_weekday_limit malloc fail", list_lost},
    {"[%s] new_domain_list malloc fail", list_lost},
    {"[%s] only reset all APPs",
     "This is no failure: the policy's entries were taken off, and none were given instead."},
    {"[%s] set app data reset fail", told_refused},
    {"[%s] set utm_app_policy_config_block fail", "The daemon did not take these entries; those before stay added."},
    {"[%s] set utm_app_policy_config_init_block fail", "The daemon did not take these entries; those before stay."},
    {"[%s]app malloc fail", no_memory},
    {"[%s]app_prev_days malloc fail", no_memory},
    {"[%s]can not get app policy unique id", no_identifier},
    {"[%s]can not get unique id", no_identifier},
    {"[%s]connect fail: %s", not_listening},
    {"[%s]create socket fail: %s", no_socket},
    {"[%s]disenable cf", "This is no failure: the filter as a whole is switched off, as both engines are."},
    {"[%s]domain_list malloc fail", no_memory},
    {"[%s]enable cf", "This is no failure: the filter as a whole is switched on, as one of its engines is."},
    {"[%s]error code = %d", "The daemon refused with that status, whose meaning is its own."},
    {"[%s]open %s fail", "That switch file could not be read, and the filter as a whole stays as it is."},
    {"[%s]read response fail", "The daemon ended the connection, or answered with a record of the wrong size."},
    {"[%s]response malloc fail", no_memory},
    {"[%s]select() error, error: %s", "Waiting for the answer was broken off; whether the daemon acted is not known."},
    {"[%s]select() timeout", "The daemon did not answer in time; whether it acted is not known."},
    {"[%s]send_utm_event_and_get_response fail",
     "The daemon did not take the policy, whose identifier stays reserved."},
    {"[%s]write data fail: %s", not_sent},
    {"activate parameter error", bad_argument},
    {"add app policy(%d) to user profile(%d) fail", not_bound},
    {"add cf policy(%d) to user profile(%d) fail", not_bound},
    {"add mac to user profile fail(id = %d)", device_not_told},
    {"add mac to user profile(app) fail(id = %d)", device_not_told},
    {"app policy id(%d) not found", not_registered},
    {"attach_utm_common_data_shm() fail", no_segment},
    {"attach_utm_id_data_shm() fail", no_segment},
    {"cf policy id(%d) not found", not_registered},
    {"config cf policy block category fail(id = %d)", told_refused},
    {"connect failed", not_listening},
    {"connect failed. Error", not_listening},
    {"connect to deviceid fail", not_listening},
    {"connect to ips fail", not_listening},
    {"debug parameter error", bad_argument},
    {"delete mac from user profile fail(id = %d)", device_not_told},
    {"delete mac from user profile(app) fail(id = %d)", device_not_told},
    {"delete user profile fail(id = %d)", "One of the daemons did not delete the profile; the line before tells why."},
    {"delete user profile fail(id(%d) not found)", not_registered},
    {"deviceid reset fail", daemon_refused},
    {"deviceid set ignore iface fail", daemon_refused},
    {"flush fail", daemon_refused},
    {"flush list fail", daemon_refused},
    {"flush parameter error", bad_argument},
    {"get switch fail", daemon_refused},
    {"get utm_user_profile_get_app_usage fail", asked_in_vain},
    {"get utm_user_profile_get_browse_domain_list fail", asked_in_vain},
    {"get utm_user_profile_get_usage fail", asked_in_vain},
    {"get utm_user_profile_get_weekday_daily_limit fail", asked_in_vain},
    {"invalid interface name.", bad_argument},
    {"invalid operation.", bad_argument},
    {"list init fail", no_memory},
    {"malloc fail", no_memory},
    {"malloc failed", no_memory},
    {"malloc show queue node fail", node_lost},
    {"memory allocate fail", no_memory},
    {"open %s fail", "The registry's marker could not be created, so the registry was not cleared for its first use."},
    {"open domain socket failed", no_socket},
    {"recv fail", no_answer},
    {"recv failed", "The daemon broke the connection instead of answering."},
    {"remote_ip: %s, address: %s", "This is no failure: it notes an address of the gateway that the query was compared "
                                   "with."},
    {"reset fail", daemon_refused},
    {"response->app.app_usage_prev_days.app_id: %d", trace},
    {"response->cf.domain_browse->domain: %.*s", trace},
    {"send fail", not_sent},
    {"send failed", not_sent},
    {"set app activate(%d) fail", told_refused},
    {"set app debug(%d) fail", told_refused},
    {"set blacklist fail", daemon_refused},
    {"set cache size fail", daemon_refused},
    {"set debug fail", "The daemon refused, was not reached or did not answer: all three have this text."},
    {"set switch fail", daemon_refused},
    {"set whitelist fail", daemon_refused},
    {"set_blacklist parameter error", bad_argument},
    {"set_whitelist parameter error", bad_argument},
    {"setsockopt SO_RCVTIMEO fail", no_limit},
    {"setsockopt SO_SNDTIMEO fail", no_limit},
    {"setsockopt fail", no_limit},
    {"show kernel list fail", "The daemon refused, was not reached or did not answer: all three have this text."},
    {"show status fail", "The daemon answered with a result of its own; the status block came all the same."},
    {"size error", bad_argument},
    {"size range 1~10MB, please re-assign", "The cache may have 1 to 10 MB; the library refused, and sent nothing."},
    {"this ip address is not one of device", "No device has that address, nor has the gateway itself."},
    {"update signature fail", daemon_refused},
    {"update signature parameter error", bad_argument},
    {"user profile id(%d) not found", not_registered},
    {"utm_user_profile_cf_app_policy_reset is failed(%s)", "The reset ended at that step, and left out the rest."},
    {"without white list", "The list has come to its end; this line stands behind every list, also a whole one."},
    {"wrong activate range", bad_argument},
};

bool is_in_number(char c)
{
    return isdigit(static_cast<unsigned char>(c)) != 0 || c == '-';
}

// As of a function of the library: "utm_cf_debug".
bool is_name(std::string_view text)
{
    return text.find('_') != std::string_view::npos &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return isalnum(c) != 0 || c == '_'; });
}

bool fits(std::string_view format, std::string_view text)
{
    while (!format.empty() && format.front() != '%') {
        if (text.empty() || text.front() != format.front())
            return false;
        format.remove_prefix(1);
        text.remove_prefix(1);
    }
    if (format.empty())
        return text.empty();
    const size_t conversion = format.find_first_of("sd");
    const bool number = format[conversion] == 'd';
    const std::string_view rest = format.substr(conversion + 1);
    for (size_t size = 0; size <= text.size(); ++size) {
        if (fits(rest, text.substr(size)))
            return true;
        if (number && size < text.size() && !is_in_number(text[size]))
            return false;
    }
    return false;
}

// Whether the text has the form; what a form begins with, if anything that differs, is the name of the function.
bool is_of(std::string_view format, std::string_view text)
{
    constexpr std::string_view name = "%s";
    if (!format.starts_with(name))
        return fits(format, text);
    const size_t end = text.find_first_of(" (:");
    return end != std::string_view::npos && is_name(text.substr(0, end)) &&
           fits(format.substr(name.size()), text.substr(end));
}

// Without the operation and the line of its call, as in "connect_ips(57) connect failed. Error".
std::string_view without_place(std::string_view text)
{
    const size_t open = text.find('(');
    const size_t close = text.find(") ");
    if (open == std::string_view::npos || close == std::string_view::npos || open > close)
        return text;
    const std::string_view line = text.substr(open + 1, close - open - 1);
    return std::all_of(line.begin(), line.end(), is_in_number) ? text.substr(close + 2) : text;
}

} // namespace

std::span<const meaning> all_meanings()
{
    return meanings;
}

// Of several that fit, the longest one says most.
const meaning* meaning_of(std::string_view written)
{
    const meaning* best = nullptr;
    for (const meaning& one : meanings) {
        const std::string_view text = one.text;
        const bool better = best == nullptr || text.size() > std::string_view(best->text).size();
        if (better && (is_of(text, written) || is_of(text, without_place(written))))
            best = &one;
    }
    return best;
}
