#pragma once

#include <cerrno>
#include <cstddef>
#include <cstring>

// Copies a text into a field that is zero: what is too long is cut, and the field always terminated.
template <size_t Size> void put_text(char (&field)[Size], const char* text)
{
    memcpy(field, text, strnlen(text, Size - 1));
}

// The same, without a terminator where the text fills the field.
template <size_t Size> void fill_text(char (&field)[Size], const char* text)
{
    memcpy(field, text, strnlen(text, Size));
}

// Copies a text between two fields, the first of which is zero and may be wider; the other may lack a terminator.
template <size_t To, size_t From> void move_text(char (&to)[To], const char (&from)[From])
{
    static_assert(To >= From);
    memcpy(to, from, strnlen(from, From));
}

// Puts a text with its terminator into a field. False, with errno EINVAL, when it does not fit, or is null.
template <size_t Size> bool put_whole_text(char (&field)[Size], const char* text)
{
    const size_t size = text == nullptr ? Size + 1 : strlen(text) + 1;
    if (size > Size) {
        errno = EINVAL;
        return false;
    }
    memcpy(field, text, size);
    return true;
}
