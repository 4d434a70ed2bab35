// Files that others write: the switches of the filter's engines, and the number of its daemon.

#include "fuzz/target.h"

#include <cctype>
#include <climits>
#include <optional>

namespace {

// Which files are there.
enum : uint8_t {
    safe_browsing = 1,
    category = 2,
    marker = 4,
    no_process = 8,
    earlier_command = 16
};

// A number in decimal at the beginning of a text, as digits without leading zeros; none where there is no digit.
struct decimal {
    bool negative;
    std::string digits;
};

std::optional<decimal> leading_decimal(const std::string& text)
{
    size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string::npos)
        return {};
    const bool negative = text[at] == '-';
    if (negative || text[at] == '+')
        at++;
    const std::string digits = text.substr(at, text.find_first_not_of("0123456789", at) - at);
    if (digits.empty())
        return {};
    return decimal{negative, digits.substr(std::min(digits.find_first_not_of('0'), digits.size()))};
}

std::string text_of(const fuzz::bytes& content)
{
    return {content.begin(), content.end()};
}

// The first three characters of the first line count.
bool is_on(const fuzz::machine& machine, const char* path)
{
    const fuzz::bytes* const content = machine.find_file(path);
    if (content == nullptr)
        return false;
    const std::string text = text_of(*content);
    const std::optional<decimal> value = leading_decimal(text.substr(0, std::min<size_t>(text.find('\n'), 3)));
    return value && !value->digits.empty();
}

// Neither 0, nor a group, nor a number that is no process's.
std::vector<int> expected_process(const fuzz::machine& machine)
{
    const fuzz::bytes* const content = machine.find_file(UTM_CF_PID_FILE);
    if (content == nullptr)
        return {};
    const std::optional<decimal> value = leading_decimal(text_of(*content));
    if (!value || value->negative || value->digits.empty() || value->digits.size() > 10 ||
        std::stol(value->digits) > INT_MAX)
        return {};
    return {std::stoi(value->digits)};
}

using texts = std::vector<std::string>;

void check_switched(const fuzz::machine& machine, bool on, const std::vector<int>& process)
{
    const texts commands = {on ? "echo 1 > /proc/net/cfilter_enable" : "echo 0 > /proc/net/cfilter_enable",
                            on ? "echo yes > /proc/net/cfilter_hdf_enable" : "echo no > /proc/net/cfilter_hdf_enable"};
    fuzz::require(machine.commands() == commands, "the kernel is switched");
    fuzz::require(machine.told() == process, "the process in the file is told, and no other");
    const texts command = {on ? "29\n" : "28\n"};
    fuzz::require(machine.written(UTM_CF_COMMAND_FILE) == (process.empty() ? texts() : command),
                  "a daemon gets its command");
}

void check_untouched(const fuzz::machine& machine)
{
    fuzz::require(machine.commands().empty() && machine.told().empty() && machine.written(UTM_CF_COMMAND_FILE).empty(),
                  "a filter that is as it should be is left alone");
}

void put_files(fuzz::machine& machine, fuzz::input& input)
{
    const uint8_t which = input.byte();
    const fuzz::bytes first = input.take(input.byte());
    const fuzz::bytes second = input.take(input.byte());
    if ((which & safe_browsing) != 0)
        machine.put_file(UTM_CF_WEB_SAFE_BROWSING_FILE, first);
    if ((which & category) != 0)
        machine.put_file(UTM_CF_WEB_CATEGORY_FILE, second);
    if ((which & marker) != 0)
        machine.put_file(UTM_CF_MARKER, {});
    if ((which & earlier_command) != 0)
        machine.put_file(UTM_CF_COMMAND_FILE, {});
    if ((which & no_process) == 0)
        machine.put_file(UTM_CF_PID_FILE, input.rest());
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    fuzz::machine machine;
    put_files(machine, input);
    const bool was_on = machine.find_file(UTM_CF_MARKER) != nullptr;
    const bool on = is_on(machine, UTM_CF_WEB_SAFE_BROWSING_FILE) || is_on(machine, UTM_CF_WEB_CATEGORY_FILE);
    const std::vector<int> process = expected_process(machine);
    fuzz::require(utm_cf_activate() == 0, "what stands in a switch is no failure");
    fuzz::require((machine.find_file(UTM_CF_MARKER) != nullptr) == on, "the marker tells what is wanted");
    if (on != was_on)
        check_switched(machine, on, process);
    else
        check_untouched(machine);
    return 0;
}
