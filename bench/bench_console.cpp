// Start-up cost of the console module: loading the language texts, and the
// drawing of one full framed screen, which every key press on a screen redoes.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "config/files.h"
#include "config/language.h"
#include "console/lang.h"
#include "console/terminal.h"

static void BM_LoadEnglishTexts(benchmark::State &state) {
    std::snprintf(ProgramDir, kProgramDirSize, "%s", CORVANE_DATA_DIR);
    AllocText();
    for (auto _ : state) benchmark::DoNotOptimize(LoadText(kCorvane, 0));
    FreeText();
}
BENCHMARK(BM_LoadEnglishTexts);

static void BM_DrawFramedScreen(benchmark::State &state) {
    ConsoleOut = std::fopen("/dev/null", "w");
    for (auto _ : state) {
        print_escapeseq(SEQ_CLEAR);
        cursor_gotopos(2, 0, 0);
        print_line(1);
        print_line(3);
        print_center("System parameters");
        print_line(3);
        print_line(1);
        for (int row = 1; row <= 16; ++row) {
            con_printf("\n\r      %d - %s:", row, "Label of a value");
            print_escapeseq(SEQ_VALUE);
            con_printf("     %s", "a value");
            print_escapeseq(SEQ_NORMAL);
        }
        print_line(0);
        print_line(1);
        cursor_gotopos(1, 3, 7);
        con_puts("-->");
        std::fflush(ConsoleOut);
    }
    std::fclose(ConsoleOut);
    ConsoleOut = nullptr;
}
BENCHMARK(BM_DrawFramedScreen);
