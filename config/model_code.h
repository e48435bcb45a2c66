// The UPS model code ([System] KeyCode, and each UPS entry's Type): product
// family, line speed and brand at fixed character positions.
//
//   0-4   family: "TOVAR" (type 14) or "MERID" (type 21; 30 when position 5 is "3")
//   6     line speed: 1, 2, 4 or 9 (1200 ... 9600 baud)
//   10-11 brand: "RU" 0, "55" 1, "RN" 2, "C2" 4, "B8" 5, anything else 3
#pragma once

#include <cstddef>
#include <cstdint>

struct UpsModel {
    char name[51];       // the code itself, or "Unknow model"
    uint8_t model_type;  // 14, 21 or 30; 255 unknown
    uint8_t family;      // 1 for the TOVAR family
    uint16_t baud;
    uint8_t brand;       // 0-5; 255 unknown
};

// The result of the latest decoding.
extern UpsModel FindModel;

// Decodes the first `width` characters (at most; the code may fill a record
// field without a terminator). &FindModel when the code is valid, else null
// with FindModel reset to "Unknow model" and its defaults.
const UpsModel *FindUpsModelTxt(const char *code, size_t width = 50);
// The brand index of `code`, 255 when it is not valid.
int GetBrand(const char *code, size_t width = 50);
