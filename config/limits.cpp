#include "config/limits.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/record.h"

namespace {

const FieldLimit kLimits[] = {
    // Entered as numbers on the screens.
    {"System", "DataLogRate", 1, 1000, nullptr},
    {"System", "DataLogMin", 1, 30000, nullptr},
    {"System", "DataLogMax", 1, 30000, nullptr},
    {"Network", "CheckRate", 1, 255, nullptr},
    {"Network", "Port", 1000, 65535, nullptr},
    {"ModemConfig", "Repeat", 0, 99, nullptr},
    {"ModemConfig", "Delay", 0, 99, nullptr},
    {"UPS_", "Address", 0, 255, nullptr},
    {"UPS_", "Device", 1, 65535, nullptr},
    {"Job_", "*Delay", 0, 9999, nullptr},
    {"Job_", "*Interval", 0, 9999, nullptr},
    {"Event_", "*Delay", 0, 9999, nullptr},
    {"Event_", "*Interval", 0, 9999, nullptr},
    // Chosen or switched on the screens.
    {"System", "Language", 0, 9, nullptr},
    {"System", "EventLog", 0, 1, nullptr},
    {"System", "DataLog", 0, 1, nullptr},
    {"System", "EnabledGroups", 0, 1, nullptr},
    {"System", "DeviceActions", 0, 1, nullptr},
    {"System", "LostCommRaiseAlarm", 0, 1, nullptr},
    {"System", "DisableShutdownForSingleUPS", 0, 1, nullptr},
    {"System", "DisableJobs", 0, 1, nullptr},
    {"System", "IgnoreRemoteUPSCommands", 0, 1, nullptr},
    {"Network", "Server", 0, 1, nullptr},
    {"Network", "HTTP", 0, 1, nullptr},
    {"ModemConfig", "Allowed", 0, 1, nullptr},
    {"ModemConfig", "IncommingAllowed", 0, 1, nullptr},
    {"SMSConfig", "Allowed", 0, 1, nullptr},
    {"SMSConfig", "Type", 0, 1, nullptr},
    {"WapConfig", "Allowed", 0, 1, nullptr},
    {"UPS_", "Connection", 0, 5, "0, 2, 3, 5"},
    {"UPS_", "SystemShutdown", 0, 1, nullptr},
    {"UPS_", "SystemShutDelayAllow", 0, 1, nullptr},
    {"UPS_", "SystemShutLeadAllow", 0, 1, nullptr},
    {"UPS_", "UPSShutdown", 0, 1, nullptr},
    {"Common", "AllowedBatteryShutdown", 0, 1, nullptr},
    {"Common", "AllowedSystemShutdown", 0, 1, nullptr},
    {"Common", "AllowedUPSShutdown", 0, 1, nullptr},
    {"Common", "AllowedUPSReboot", 0, 1, nullptr},
    {"UPS", "*", 0, kUpsEntries, nullptr},  // a group member: UPS entry n - 1, 0 none
    {"Event_", "Type*", 0, 255, nullptr},   // conditions and their qualifiers keep 8 bits
    {"Event_", "Priority*", 0, 255, nullptr},
    // 0 is no value: a save writes the default (25, 5, 1, 9200) instead.
    {"EmailConfig", "Port", 1, 65535, nullptr},
    {"EmailConfig", "Timeout", 1, 65535, nullptr},
    {"BriskenModemConfig", "DeviceNo", 1, 65535, nullptr},
    {"WapConfig", "Port", 1, 65535, nullptr},
};

bool matches(const char *pattern, const char *key) {
    size_t length = std::strlen(pattern), size = std::strlen(key);
    if (pattern[0] == '*') return size >= length - 1 && std::strcmp(key + size - (length - 1), pattern + 1) == 0;
    if (pattern[length - 1] == '*') return std::strncmp(key, pattern, length - 1) == 0;
    return std::strcmp(pattern, key) == 0;
}

}  // namespace

const FieldLimit *find_limit(const char *section, const char *key) {
    for (const FieldLimit &limit : kLimits) {
        if (std::strcmp(limit.section, section) == 0 && matches(limit.key, key)) return &limit;
    }
    return nullptr;
}

const FieldLimit &field_limit(const char *section, const char *key) {
    const FieldLimit *limit = find_limit(section, key);
    if (!limit) {
        // A screen asking for a row the table lacks is a fault of the program itself.
        std::fprintf(stderr, "corvane: no limits for %s.%s\n", section, key);
        std::abort();
    }
    return *limit;
}

bool within(const FieldLimit &limit, unsigned value) {
    if (value < limit.low || value > limit.high) return false;
    if (!limit.allowed) return true;
    char text[16];
    std::snprintf(text, sizeof text, "%u", value);
    for (const char *at = limit.allowed; (at = std::strstr(at, text)) != nullptr; ++at) {
        size_t length = std::strlen(text);
        if ((at == limit.allowed || at[-1] == ' ') && (at[length] == ',' || at[length] == '\0')) return true;
    }
    return false;
}
