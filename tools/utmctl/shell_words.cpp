#include "tools/utmctl/shell_words.h"

#include "tools/utmctl/printable.h"

namespace {

constexpr std::string_view blanks = " \t";

class splitter {
public:
    explicit splitter(std::string_view line) : left_(line) {}

    shell_words split()
    {
        while (found_.wrong.empty() && skip_blanks())
            take_word();
        return std::move(found_);
    }

private:
    // False at the end of what counts.
    bool skip_blanks()
    {
        left_.remove_prefix(std::min(left_.find_first_not_of(blanks), left_.size()));
        return !left_.empty() && left_.front() != '#';
    }

    char next()
    {
        const char c = left_.front();
        left_.remove_prefix(1);
        return c;
    }

    void take_word()
    {
        word_.clear();
        while (found_.wrong.empty() && !left_.empty() && blanks.find(left_.front()) == std::string_view::npos)
            take_piece(next());
        found_.words.push_back(word_);
    }

    void take_piece(char c)
    {
        if (c == '\'' || c == '"')
            take_quoted(c);
        else if (c != '\\')
            word_ += c;
        else if (left_.empty())
            found_.wrong = "it ends with a backslash";
        else
            word_ += next();
    }

    void take_quoted(char quote)
    {
        while (!left_.empty()) {
            const char c = next();
            if (c == quote)
                return;
            const bool escapes = quote == '"' && c == '\\' && !left_.empty() && (left_[0] == '"' || left_[0] == '\\');
            word_ += escapes ? next() : c;
        }
        found_.wrong = quote == '"' ? "a double quote is not closed" : "a single quote is not closed";
    }

    std::string_view left_;
    std::string word_;
    shell_words found_;
};

} // namespace

shell_words words_in(std::string_view line)
{
    for (const char c : line) {
        if (c != '\t' && has_control_characters({&c, 1}))
            return {.words = {}, .wrong = "it has control characters"};
    }
    return splitter(line).split();
}
