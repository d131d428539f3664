#include "bytes.h"

#include <cstdarg>
#include <cstdio>

namespace tspec::model {

std::string text(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::string result = text_of(format, arguments);
    va_end(arguments);
    return result;
}

std::string text_of(const char *format, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string result(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(result.data(), result.size(), format, again);
    va_end(again);
    result.resize(static_cast<size_t>(length));
    return result;
}

std::string mac_text(const Mac &mac)
{
    return text("%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x", mac[0], mac[1], mac[2], mac[3], mac[4],
                mac[5]);
}

} // namespace tspec::model
