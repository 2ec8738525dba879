#pragma once

#include <cstddef>
#include <cstring>

namespace testkit {

/// The slot of a virtual operation in the table of its class; a destructor takes two. A pointer to
/// a member holds its offset there, with a mark in the lowest bit (Itanium C++ ABI, 2.3).
template <typename Member>
std::size_t slotOf(Member member) {
  std::size_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return offset / sizeof(void*);
}

}  // namespace testkit
