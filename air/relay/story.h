// What the relay tells of a run, in lines like those of the story around it.
#pragma once

#include "frame.h"

#include <map>
#include <string>
#include <vector>

namespace tspec::air {

// Names for addresses: those of the interfaces that have them.
class Names {
  public:
    std::string of(const Mac &mac);

  private:
    std::map<Mac, std::string> known_;
};

// "from -> to   text", in columns, flushed.
void tell(const std::string &from, const std::string &to, const std::string &text);

std::string direction_name(uint8_t direction);
std::string category_name(uint8_t user_priority);
std::string result_name(uint32_t result);

} // namespace tspec::air
