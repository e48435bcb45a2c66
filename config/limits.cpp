#include "config/limits.h"

#include <cstdlib>
#include <cstring>

#include "config/record.h"

namespace {

constexpr FieldLimit kLimits[] = {
    {Limit::DataLogRate, "System", "DataLogRate", {1, 1000}, nullptr},
    {Limit::DataLogMin, "System", "DataLogMin", {1, 30000}, nullptr},
    {Limit::DataLogMax, "System", "DataLogMax", {1, 30000}, nullptr},
    {Limit::NetworkCheckRate, "Network", "CheckRate", {1, 255}, nullptr},
    {Limit::NetworkPort, "Network", "Port", {1000, 65535}, nullptr},
    {Limit::ModemRepeat, "ModemConfig", "Repeat", {0, 99}, nullptr},
    {Limit::ModemDelay, "ModemConfig", "Delay", {0, 99}, nullptr},
    {Limit::UpsAddress, "UPS_", "Address", {0, 255}, nullptr},
    {Limit::UpsDevice, "UPS_", "Device", {1, 65535}, nullptr},
    {Limit::UpsSystemDelay, "UPS_", "SystemShutdownDelay", {0, 65535}, nullptr},
    {Limit::UpsSystemLead, "UPS_", "SystemShutdownLead", {0, 65535}, nullptr},
    {Limit::UpsShutdownDelay, "UPS_", "UPSShutdownDelay", {0, 65535}, nullptr},
    {Limit::JobDelay, "Job_", "*Delay", {0, 9999}, nullptr},
    {Limit::JobInterval, "Job_", "*Interval", {0, 9999}, nullptr},
    {Limit::EventDelay, "Event_", "*Delay", {0, 9999}, nullptr},
    {Limit::EventInterval, "Event_", "*Interval", {0, 9999}, nullptr},
    {Limit::GroupBatteryRuntime, "Common", "BatteryRuntimeShutdown", {0, 65535}, nullptr},
    {Limit::GroupSystemDelay, "Common", "SystemShutdownDelay", {0, 65535}, nullptr},
    {Limit::GroupUpsDelay, "Common", "UPSShutdownDelay", {0, 65535}, nullptr},
    {Limit::QualifierCount, nullptr, nullptr, {0, 8}, nullptr},
    {Limit::ScheduleDay, nullptr, nullptr, {1, 31}, nullptr},
    {Limit::Language, "System", "Language", {0, 31}, nullptr},  // and only a language whose file can be loaded
    {Limit::EventLog, "System", "EventLog", {0, 1}, nullptr},
    {Limit::DataLog, "System", "DataLog", {0, 1}, nullptr},
    {Limit::EnabledGroups, "System", "EnabledGroups", {0, 1}, nullptr},
    {Limit::DeviceActions, "System", "DeviceActions", {0, 1}, nullptr},
    {Limit::LostCommRaiseAlarm, "System", "LostCommRaiseAlarm", {0, 1}, nullptr},
    {Limit::DisableShutdownForSingleUPS, "System", "DisableShutdownForSingleUPS", {0, 1}, nullptr},
    {Limit::DisableJobs, "System", "DisableJobs", {0, 1}, nullptr},
    {Limit::IgnoreRemoteUPSCommands, "System", "IgnoreRemoteUPSCommands", {0, 1}, nullptr},
    {Limit::NetworkServer, "Network", "Server", {0, 1}, nullptr},
    {Limit::NetworkHttp, "Network", "HTTP", {0, 1}, nullptr},
    {Limit::ModemAllowed, "ModemConfig", "Allowed", {0, 1}, nullptr},
    {Limit::ModemIncoming, "ModemConfig", "IncommingAllowed", {0, 1}, nullptr},
    {Limit::SmsAllowed, "SMSConfig", "Allowed", {0, 1}, nullptr},
    {Limit::SmsType, "SMSConfig", "Type", {0, 1}, nullptr},
    {Limit::WapAllowed, "WapConfig", "Allowed", {0, 1}, nullptr},
    {Limit::UpsConnection, "UPS_", "Connection", {0, 5}, "0, 2, 3, 5"},
    {Limit::UpsSystemShutdown, "UPS_", "SystemShutdown", {0, 1}, nullptr},
    {Limit::UpsDelayAllow, "UPS_", "SystemShutDelayAllow", {0, 1}, nullptr},
    {Limit::UpsLeadAllow, "UPS_", "SystemShutLeadAllow", {0, 1}, nullptr},
    {Limit::UpsShutdown, "UPS_", "UPSShutdown", {0, 1}, nullptr},
    {Limit::GroupBattery, "Common", "AllowedBatteryShutdown", {0, 1}, nullptr},
    {Limit::GroupSystem, "Common", "AllowedSystemShutdown", {0, 1}, nullptr},
    {Limit::GroupUps, "Common", "AllowedUPSShutdown", {0, 1}, nullptr},
    {Limit::GroupReboot, "Common", "AllowedUPSReboot", {0, 1}, nullptr},
    {Limit::GroupRedundancy, "Common", "RedundancyLevel", {0, 3}, nullptr},
    {Limit::GroupMember, "UPS", "*", {0, kUpsEntries}, nullptr},  // UPS entry n - 1, 0 none
    {Limit::EventType, "Event_", "Type*", {0, 24}, nullptr},       // 0 an empty slot, 1-22 the jobs' events, 23 and 24 the group's
    // A count in the first or second form, or the third or fourth form.
    {Limit::EventPriority, "Event_", "Priority*", {0, 255}, "0-8, 100-108, 254, 255"},
    {Limit::MailPort, "EmailConfig", "Port", {1, 65535}, nullptr},
    {Limit::MailTimeout, "EmailConfig", "Timeout", {1, 255}, nullptr},
    {Limit::ViewerDevice, "BriskenModemConfig", "DeviceNo", {1, 65535}, nullptr},
    {Limit::WapPort, "WapConfig", "Port", {1, 65535}, nullptr},
};

// A row is found by its name's value: the table must list them in order.
constexpr bool in_order() {
    for (unsigned i = 0; i < sizeof kLimits / sizeof kLimits[0]; ++i) {
        if (static_cast<unsigned>(kLimits[i].name) != i) return false;
    }
    return sizeof kLimits / sizeof kLimits[0] == static_cast<unsigned>(Limit::Count);
}
static_assert(in_order(), "one row per name, in the order of the names");

}  // namespace

const FieldLimit &limit(Limit name) { return kLimits[static_cast<unsigned>(name)]; }

bool limit_matches(const char *pattern, const char *key) {
    size_t length = std::strlen(pattern), size = std::strlen(key);
    if (pattern[0] == '*') return size >= length - 1 && std::strcmp(key + size - (length - 1), pattern + 1) == 0;
    if (pattern[length - 1] == '*') return std::strncmp(key, pattern, length - 1) == 0;
    return std::strcmp(pattern, key) == 0;
}

const FieldLimit *find_limit(const char *section, const char *key) {
    for (const FieldLimit &row : kLimits) {
        if (row.section && std::strcmp(row.section, section) == 0 && limit_matches(row.key, key)) return &row;
    }
    return nullptr;
}

bool within(const FieldLimit &limit, unsigned value) {
    if (value < limit.range.low || value > limit.range.high) return false;
    if (!limit.allowed) return true;
    // A list of single values and ranges: "0, 2, 3, 5", "0-8, 254".
    for (const char *at = limit.allowed; *at;) {
        char *end = nullptr;
        unsigned long low = std::strtoul(at, &end, 10), high = low;
        if (*end == '-') high = std::strtoul(end + 1, &end, 10);
        if (value >= low && value <= high) return true;
        at = end + std::strspn(end, ", ");
    }
    return false;
}
