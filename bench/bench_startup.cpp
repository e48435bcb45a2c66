// The editor from exec to the first frame of the main menu, on the
// full-size directory in a pseudo-terminal, and its peak memory there.
// Start-up includes loading every file and the texts, and the "stty" the
// menu runs through the shell before it draws.
#include <benchmark/benchmark.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

namespace {

// A Korvel directory with the full-size files, the language and the editor.
std::string staged_directory() {
    static std::string dir;
    if (dir.empty()) {
        char pattern[] = "/tmp/corvane-start-XXXXXX";
        if (!mkdtemp(pattern)) std::abort();
        dir = pattern;
        std::string stage = "cp " CORVANE_TEST_DATA "full/* " CORVANE_DATA_DIR "lang_00.ini " CORVANE_EDITOR " " + dir;
        if (std::system(stage.c_str()) != 0) std::abort();
    }
    return dir;
}

// Peak resident memory of `pid` in kB (VmHWM).
long peak_kb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, 6, "VmHWM:") == 0) return std::atol(line.c_str() + 6);
    }
    return -1;
}

void BM_StartToMainMenu(benchmark::State &state) {
    const std::string dir = staged_directory(), editor = dir + "/corvane";
    long peak = 0;
    for (auto _ : state) {
        int master;
        struct winsize size = {40, 100, 0, 0};
        auto start = std::chrono::steady_clock::now();
        pid_t pid = forkpty(&master, nullptr, nullptr, &size);
        if (pid == 0) {
            execl(editor.c_str(), editor.c_str(), static_cast<char *>(nullptr));
            _exit(127);
        }
        std::string output;
        char buffer[8192];
        // The marker is drawn last: once it is there, the frame is complete.
        while (output.find("-->") == std::string::npos) {
            struct pollfd ready = {master, POLLIN, 0};
            if (poll(&ready, 1, 5000) <= 0) break;
            ssize_t n = read(master, buffer, sizeof buffer);
            if (n <= 0) break;
            output.append(buffer, static_cast<size_t>(n));
        }
        auto took = std::chrono::steady_clock::now() - start;
        if (output.find("-->") == std::string::npos) state.SkipWithError("no main menu");
        peak = peak_kb(pid);
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        close(master);
        state.SetIterationTime(std::chrono::duration<double>(took).count());
    }
    state.counters["peak_kB"] = static_cast<double>(peak);
}

}  // namespace

BENCHMARK(BM_StartToMainMenu)->UseManualTime()->Unit(benchmark::kMillisecond);
