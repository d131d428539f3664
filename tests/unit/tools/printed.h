// What a function of the tool prints, as a string.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace tspec::test {

inline std::string printed(const std::function<void(FILE *)> &print)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *out = open_memstream(&text, &length);
    print(out);
    std::fclose(out);
    std::string result(text, length);
    std::free(text);
    return result;
}

} // namespace tspec::test
