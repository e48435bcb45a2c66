#include "config/model_code.h"

#include <cstring>

#include "console/input.h"

UpsModel FindModel;

const UpsModel *FindUpsModelTxt(const char *code, size_t width) {
    if (width > sizeof FindModel.name - 1) width = sizeof FindModel.name - 1;
    size_t length = strnlen(code, width);
    bool error = length < 12;
    if (!error) {
        std::memcpy(FindModel.name, code, length);
        FindModel.name[length] = '\0';
        FindModel.model_type = 255;

        if (std::strncmp(code, "TOVAR", 5) == 0) {
            FindModel.model_type = 14;
            FindModel.family = 1;
        } else if (std::strncmp(code, "MERID", 5) == 0) {
            FindModel.model_type = code[5] == '3' ? 30 : 21;
            FindModel.family = 0;
        } else {
            error = true;
        }

        switch (console::toupper(static_cast<unsigned char>(code[6]))) {
        case '1': FindModel.baud = 1200; break;
        case '2': FindModel.baud = 2400; break;
        case '4': FindModel.baud = 4800; break;
        case '9': FindModel.baud = 9600; break;
        default: error = true; break;
        }

        static const struct {
            char code[3];
            uint8_t brand;
        } kBrands[] = {{"RN", 2}, {"RU", 0}, {"55", 1}, {"C2", 4}, {"B8", 5}};
        FindModel.brand = 3;
        for (const auto &brand : kBrands) {
            if (std::strncmp(code + 10, brand.code, 2) == 0) FindModel.brand = brand.brand;
        }
    }
    if (error) {
        std::strcpy(FindModel.name, "Unknow model");
        FindModel.model_type = 255;
        FindModel.family = 0;
        FindModel.baud = 2400;
        FindModel.brand = 255;
        return nullptr;
    }
    return &FindModel;
}

int GetBrand(const char *code, size_t width) {
    FindUpsModelTxt(code, width);
    return FindModel.brand;
}
