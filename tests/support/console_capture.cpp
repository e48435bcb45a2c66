#include "support/console_capture.h"

#include "console/input.h"
#include "console/terminal.h"

static ConsoleCapture *current = nullptr;

ConsoleCapture::ConsoleCapture()
    : saved_read_(ConsoleReadByte), saved_ended_(ConsoleInputEnded), saved_sleep_(ConsoleSleep),
      saved_shell_(ConsoleShell) {
    stream_ = open_memstream(&buffer_, &size_);
    ConsoleOut = stream_;
    ConsoleReadByte = read_byte;
    ConsoleInputEnded = input_ended;
    ConsoleSleep = sleep;
    ConsoleShell = shell;
    console_forget_input();
    current = this;
}

ConsoleCapture::~ConsoleCapture() {
    current = nullptr;
    ConsoleOut = nullptr;
    ConsoleReadByte = saved_read_;
    ConsoleInputEnded = saved_ended_;
    ConsoleSleep = saved_sleep_;
    ConsoleShell = saved_shell_;
    console_forget_input();
    fclose(stream_);
    free(buffer_);
}

void ConsoleCapture::type(const std::string &keys) { input_ += keys; }

std::string ConsoleCapture::take_output() {
    fflush(stream_);
    std::string text(buffer_, size_);
    rewind(stream_);
    fflush(stream_);
    // open_memstream keeps its size at the write position; starting over at
    // the beginning makes the next take_output return only what came after.
    return text;
}

int ConsoleCapture::read_byte() {
    if (current->position_ >= current->input_.size()) return -1;
    return static_cast<unsigned char>(current->input_[current->position_++]);
}

void ConsoleCapture::input_ended() { throw InputExhausted{}; }

void ConsoleCapture::sleep(unsigned long microseconds) {
    current->sleeps.push_back(microseconds);
    current->shown_at_last_pause.assign(current->buffer_, current->size_);
}

int ConsoleCapture::shell(const char *command) {
    current->commands.push_back(command);
    current->shown_at_last_pause.assign(current->buffer_, current->size_);
    return 0;
}

std::string visible(const std::string &bytes) {
    std::string shown;
    for (unsigned char c : bytes) {
        switch (c) {
        case 27: shown += "<ESC>"; break;
        case '\n': shown += "<LF>"; break;
        case '\r': shown += "<CR>"; break;
        case 7: shown += "<BEL>"; break;
        case '\t': shown += "<TAB>"; break;
        default:
            if (c < 32) {
                shown += "<" + std::to_string(c) + ">";
            } else {
                shown += static_cast<char>(c);
            }
        }
    }
    return shown;
}
