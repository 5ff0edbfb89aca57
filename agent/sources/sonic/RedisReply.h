// What Redis answers.
#pragma once

#include <hiredis/hiredis.h>

#include <cstddef>
#include <string_view>

namespace Agent::Sonic {

/// Of a text, a status or an error; empty of anything else. It is there as long as the reply.
inline std::string_view textOf(redisReply const& reply) {
  return reply.str == nullptr ? std::string_view()
                              : std::string_view(reply.str, static_cast<std::size_t>(reply.len));
}

}  // namespace Agent::Sonic
