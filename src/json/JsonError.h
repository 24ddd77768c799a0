#pragma once

#include <stdexcept>

/// A text that is not JSON, or JSON that does not hold the record asked for. what() is UTF-8 and says where
/// and what, such as "pairs[1].enabled: expected true or false".
class JsonError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};
