#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

// A format without values is a text, of which no percent sign may count.
void write_message(const char* path, const char* message)
{
    if (message != nullptr)
        utm_log(path, "%s", message);
    else
        utm_log(path, nullptr);
}

constexpr callable log_function =
    bound_through<utm_log, caller<write_message, told_released, shell_path, argument<const char*>>>(
        "void utm_log(const char* path, const char* format, ...)");

constexpr char semaphore_help[] = "the semaphore set, as init_utm_common_sem returned it";

constexpr meaning stored_values[] = {{"0", "stored, also when the lock cannot be given back"},
                                     {"-1", "null or too long (EINVAL), or the segment is out of reach"}};
constexpr result_kind stored = {fails::minus_one, stored_values, uuid_causes, fails_on::shared_memory};

constexpr meaning read_values[] = {
    {"0", "there is a UUID"},
    {"-1", "there is none (errno 0), an argument is refused (EINVAL), or the segment is out of reach"},
};
constexpr result_kind read = {fails::minus_one, read_values, uuid_causes, fails_on::shared_memory};

bool is_empty_text(words given)
{
    const argument<const char*> text(given, 0);
    return text.value() != nullptr && *text.value() == '\0';
}

bool runs_a_command(words given)
{
    const bool has_texts = argument<const char*>(given, 0).value() != nullptr && given[1] != null_word;
    return has_texts && parse_whole(given[2]).value() > 0;
}

constexpr function_row functions[] = {
    {log_function,
     "appends one message to a diagnostic log, in a single write",
     {"the log file; a shell sees it unquoted where it has to be made or rotated",
      "the format of the message, as for printf; call writes its text as it is"},
     {"shell: folder and file made, or the log rotated above 5,242,880 bytes, where that is needed",
      "file: the message appended"},
     "as long as up to three short shell commands take, where the log has to be made or rotated",
     nothing_told},
    {bound<utm_uuid_set>("int32_t utm_uuid_set(const char* uuid)"),
     "stores the device UUID; an empty text means that there is none",
     {"a text of up to 255 characters"},
     {"system: common segment written, under its lock"},
     waits_for_lock,
     stored,
     nullptr,
     "the device UUID, where the text is empty",
     is_empty_text},
    {bound<utm_uuid_get>("int32_t utm_uuid_get(char* buffer, int size)"),
     "reads the device UUID",
     {"where the text goes; 256 bytes, whatever size says", "up to 256; not used for anything but that check"},
     {"system: common segment read, under its lock"},
     waits_for_lock,
     read},
    {bound<init_utm_common_sem>("int init_utm_common_sem(void)"),
     "gets the common segment's semaphore, made unlocked where there is none",
     {},
     {"file: " KQUTM_IPC_KEY_FILE " looked up for the key", "system: semaphore set found or made"},
     waits_not,
     semaphore},
    {bound<utm_commoc_lock>("int utm_commoc_lock(int semid)"),
     "takes the lock of the common segment",
     {semaphore_help},
     {"system: semaphore taken, with undo at exit"},
     waits_for_lock,
     system_call,
     lock_is_undone},
    {bound<utm_commoc_unlock>("int utm_commoc_unlock(int semid)"),
     "gives the lock of the common segment back",
     {semaphore_help},
     {"system: semaphore given back, with undo at exit"},
     waits_not,
     system_call,
     lock_is_undone},
    {bound<attach_utm_common_data_shm>("void* attach_utm_common_data_shm(void)"),
     "attaches the common segment, made all zero where there is none",
     {},
     {"system: segment found or made, and attached"},
     waits_not,
     segment_or_null,
     segment_is_detached},
    {bound<detach_utm_common_data_shm, told_released, attached<attach_utm_common_data_shm>>(
         "int detach_utm_common_data_shm(const void* address)"),
     "detaches the common segment",
     {"what attach_utm_common_data_shm returned; null is accepted"},
     {"system: segment detached"},
     waits_not,
     zero_always},
    {bound<utm_notify_debug>("int32_t utm_notify_debug(int on)"),
     "switches the recording of debug events",
     {"0 off, every other value on"},
     {"shell or file: " UTM_DEBUG_EVENT_FILE " made, or removed"},
     "as long as one short shell command takes",
     zero_always},
    {bound<utm_getSystemCommandResult>(
         "void utm_getSystemCommandResult(const char* command, char* out, int out_size, int strip_newline)"),
     "runs a command in a shell and takes what it prints on standard output",
     {"the command, as the shell reads it; null: nothing is run",
      "where the text goes, always with its zero byte; null: nothing is run",
      "bytes of the buffer; up to 128 take the first line alone, and no more than 127 characters of it; more take line "
      "after line, a longer one in pieces of 127 characters, and the one read when fewer than 128 bytes are left is "
      "the last, cut where the buffer ends; below 1: nothing is run",
      "not 0: one newline at the end is removed"},
     {"shell: the command"},
     "until the command ends",
     nothing_told,
     nullptr,
     "whatever the command destroys",
     runs_a_command},
};

} // namespace

std::span<const function_row> common_functions()
{
    return functions;
}

} // namespace operations
