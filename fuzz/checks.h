// What must hold for any input to the editor's readers. The fuzz targets run
// these on generated inputs; the unit tests run them on every seed and on
// every input a fuzzer once broke the editor with. A failure calls
// CheckFailed, which prints and aborts, as a fuzzer wants it; the unit tests
// make it fail the one input instead.
#pragma once

#include <cstddef>
#include <cstdint>

extern void (*CheckFailed)(const char *what);

// INI files of each kind: read without leaving the record, and once loaded
// and saved, loading and saving again gives the same bytes.
void check_korvel_ini(const uint8_t *data, size_t size);
void check_jobs_ini(const uint8_t *data, size_t size);
void check_jobs_sts_ini(const uint8_t *data, size_t size);
void check_sensor_ini(const uint8_t *data, size_t size);
void check_group_ini(const uint8_t *data, size_t size);
// A language file: every text stays terminated within its buffer.
void check_language_file(const uint8_t *data, size_t size);
// A group profile: what is loaded and saved again loads as the same events.
void check_group_profile(const uint8_t *data, size_t size);
// Schedule texts (20 bytes per entry): decoding what was encoded gives the
// same schedules.
void check_schedules(const uint8_t *data, size_t size);
// A model code: found, it keeps the code read within its field; not found,
// the last model is reset.
void check_model_code(const uint8_t *data, size_t size);
