// In-process test double for the console's seams: screen output goes to a
// memory buffer, input comes from a script, waits and shell commands are
// recorded instead of performed.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

class ConsoleCapture {
public:
    // Thrown when code asks for input after the script has run out: it
    // proves that the code was still waiting for more.
    struct InputExhausted {};

    ConsoleCapture();
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture &) = delete;
    ConsoleCapture &operator=(const ConsoleCapture &) = delete;

    // Appends bytes to the input script.
    void type(const std::string &keys);
    // Input bytes not read yet.
    std::size_t unread() const { return input_.size() - position_; }

    // Everything written to the screen since the last take_output().
    std::string take_output();

    std::vector<unsigned long> sleeps;  // each wait, in microseconds
    std::vector<std::string> commands;  // each shell command
    // What had reached the screen (been flushed) when the last wait or shell
    // command began: a message shown before a pause must be visible in it.
    std::string shown_at_last_pause;

private:
    static int read_byte();
    static void input_ended();
    static void sleep(unsigned long microseconds);
    static int shell(const char *command);

    int (*saved_read_)() = nullptr;
    void (*saved_ended_)() = nullptr;
    void (*saved_sleep_)(unsigned long) = nullptr;
    int (*saved_shell_)(const char *) = nullptr;

    std::string input_;
    std::size_t position_ = 0;
    char *buffer_ = nullptr;
    std::size_t size_ = 0;
    FILE *stream_ = nullptr;
};

// Bytes with the control characters spelled out, for readable failures.
std::string visible(const std::string &bytes);
