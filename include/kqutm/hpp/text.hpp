/* Texts in fields of fixed width, which may lack their terminator. */
#ifndef KQUTM_HPP_TEXT_HPP
#define KQUTM_HPP_TEXT_HPP

#include <cstddef>
#include <cstring>
#include <string_view>

namespace kqutm {

/* What stands in a field before its first zero byte, or the whole field. Lives as long as the field. */
template <size_t size> std::string_view text_of(const char (&field)[size])
{
    return {field, strnlen(field, size)};
}

} // namespace kqutm

#endif
