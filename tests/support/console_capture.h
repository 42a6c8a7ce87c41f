// Captures the standard output while it exists.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace quillon::test {

class ConsoleCapture {
  public:
    ConsoleCapture() : previous(std::cout.rdbuf(buffer.rdbuf())) {}
    ~ConsoleCapture() { std::cout.rdbuf(previous); }
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    std::string text() const { return buffer.str(); }

  private:
    std::ostringstream buffer;
    std::streambuf* previous;
};

}  // namespace quillon::test
