#include "config/fields.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "config/record.h"

namespace {

#define FIELD(S, member, kind) {#member, offsetof(S, member), sizeof(S::member), FieldKind::kind}
#define TEXT(S, member) FIELD(S, member, Text)
#define NUMBER(S, member) FIELD(S, member, Number)

// [System] also holds two settings that live in the network block.
#define SYSTEM_FROM_NETWORK(member)                                                                    \
    {#member, offsetof(ConfigRecord, Network) + offsetof(NetworkSettings, member) - offsetof(ConfigRecord, System), \
     sizeof(NetworkSettings::member), FieldKind::Number}

const Field kSystemKeys[] = {
    TEXT(SystemSettings, Name),
    TEXT(SystemSettings, Location),
    TEXT(SystemSettings, Contact),
    NUMBER(SystemSettings, Language),
    NUMBER(SystemSettings, EventLog),
    NUMBER(SystemSettings, DataLog),
    NUMBER(SystemSettings, DataLogRate),
    NUMBER(SystemSettings, DataLogMin),
    NUMBER(SystemSettings, DataLogMax),
    NUMBER(SystemSettings, SaveFiles),
    TEXT(SystemSettings, KeyCode),
    NUMBER(SystemSettings, EnabledGroups),
    NUMBER(SystemSettings, DeviceActions),
    NUMBER(SystemSettings, LostCommRaiseAlarm),
    NUMBER(SystemSettings, DisableShutdownForSingleUPS),
    NUMBER(SystemSettings, AutoClose),
    NUMBER(SystemSettings, DisableJobs),
    NUMBER(SystemSettings, IgnoreRemoteUPSCommands),
    NUMBER(SystemSettings, OEMMode),
    NUMBER(SystemSettings, DebugMode),
    NUMBER(SystemSettings, PasswordProtection),
    NUMBER(SystemSettings, ShutdownType),
    NUMBER(SystemSettings, HibernateSupport),
    NUMBER(SystemSettings, DebugLog),
    NUMBER(SystemSettings, DelayOfAlarm),
    SYSTEM_FROM_NETWORK(DelayApplication),
    SYSTEM_FROM_NETWORK(Nodemon),
};

const Field kSerialKeys[] = {
    TEXT(SerialPort, Device),   NUMBER(SerialPort, Baudrate), NUMBER(SerialPort, Bits),
    NUMBER(SerialPort, Stop),   NUMBER(SerialPort, Parity),   NUMBER(SerialPort, CheckRate),
};

const Field kNetworkKeys[] = {
    NUMBER(NetworkSettings, CheckRate),     NUMBER(NetworkSettings, Server),
    NUMBER(NetworkSettings, Port),          NUMBER(NetworkSettings, SNMP),
    NUMBER(NetworkSettings, HTTP),          TEXT(NetworkSettings, HTTPPath),
    TEXT(NetworkSettings, RemoteIPAddress), NUMBER(NetworkSettings, RemoteDevice),
    NUMBER(NetworkSettings, RemoteConnection), NUMBER(NetworkSettings, RemoteAutoStart),
};

const Field kEmailConfigKeys[] = {
    NUMBER(EmailService, Allowed),
    TEXT(EmailService, Server),
    TEXT(EmailService, Domain),
    NUMBER(EmailService, Port),
    TEXT(EmailService, Name),
    TEXT(EmailService, Address),
    NUMBER(EmailService, Timeout),
    TEXT(EmailService, Subject),
    NUMBER(EmailService, AuthAllowed),
    TEXT(EmailService, Login),
    TEXT(EmailService, Password),
};

const Field kSmsConfigKeys[] = {
    NUMBER(SmsService, Allowed), TEXT(SmsService, Port), TEXT(SmsService, SMSCentre), NUMBER(SmsService, Type),
};

const Field kModemConfigKeys[] = {
    NUMBER(DialOutModem, Allowed), TEXT(DialOutModem, Port),       TEXT(DialOutModem, Number1),
    TEXT(DialOutModem, Number2),   NUMBER(DialOutModem, Repeat),   NUMBER(DialOutModem, Delay),
    TEXT(DialOutModem, InitString), TEXT(DialOutModem, DialString), NUMBER(DialOutModem, IncommingAllowed),
};

const Field kEmailKeys[] = {TEXT(EmailRecipient, Name), TEXT(EmailRecipient, EmailAddress)};
const Field kSmsKeys[] = {TEXT(SmsRecipient, Name), TEXT(SmsRecipient, TelNumber)};
const Field kScheduleKeys[] = {TEXT(ScheduleEntry, Data)};
const Field kMessKeys[] = {TEXT(MessageText, Name)};

const Field kUpsKeys[] = {
    TEXT(UpsEntry, Name),
    TEXT(UpsEntry, Type),
    TEXT(UpsEntry, Serial),
    NUMBER(UpsEntry, Connection),
    TEXT(UpsEntry, Port),
    NUMBER(UpsEntry, Address),
    TEXT(UpsEntry, IPAddress),
    NUMBER(UpsEntry, Device),
    NUMBER(UpsEntry, Message),
    NUMBER(UpsEntry, MessageDelay),
    NUMBER(UpsEntry, MessageRate),
    NUMBER(UpsEntry, MessageType),
    NUMBER(UpsEntry, SystemShutdown),
    NUMBER(UpsEntry, SystemShutDelayAllow),
    NUMBER(UpsEntry, SystemShutLeadAllow),
    NUMBER(UpsEntry, SystemShutdownDelay),
    NUMBER(UpsEntry, SystemShutdownLead),
    NUMBER(UpsEntry, UPSShutdown),
    NUMBER(UpsEntry, UPSShutdownDelay),
    NUMBER(UpsEntry, UPSReboot),
    NUMBER(UpsEntry, Password),
    NUMBER(UpsEntry, HaveSensor),
    NUMBER(UpsEntry, RTGConnTime),
    NUMBER(UpsEntry, RTGTimeout),
    TEXT(UpsEntry, SNMPGetComm),
    TEXT(UpsEntry, SNMPSetComm),
};

const Field kMessConfigKeys[] = {NUMBER(Messaging, Type)};

const Field kViewerModemKeys[] = {
    TEXT(ViewerModem, Port), TEXT(ViewerModem, Number), NUMBER(ViewerModem, DeviceNo),
    TEXT(ViewerModem, InitString), TEXT(ViewerModem, DialString),
};

const Field kWapKeys[] = {NUMBER(WapService, Allowed), NUMBER(WapService, Port)};

const Field kFaxKeys[] = {
    NUMBER(FaxService, Allowed), NUMBER(FaxService, LocalRemote), TEXT(FaxService, Fax),
    TEXT(FaxService, Name),      TEXT(FaxService, Company),       TEXT(FaxService, Number),
};

const Field kVoiceKeys[] = {
    NUMBER(VoiceService, Allowed), NUMBER(VoiceService, ModemID), NUMBER(VoiceService, Delay),
    NUMBER(VoiceService, Retry),   TEXT(VoiceService, Number),
};

// The 25 job keys, at `base` within their entry: jobs start at 0, group
// events after their conditions. The switches keep 8 bits, delays 16.
#define JOB_FIELD(member, kind, base) \
    {#member, (base) + offsetof(JobEntry, member), sizeof(JobEntry::member), FieldKind::kind}
#define JOB_KEYS(base)                                                                                     \
    JOB_FIELD(Log, Switch, base), JOB_FIELD(LogDelay, Number, base), JOB_FIELD(Execute, Switch, base),     \
        JOB_FIELD(ExecuteDelay, Number, base), JOB_FIELD(ExecuteInterval, Number, base),                   \
        JOB_FIELD(File, Text, base), JOB_FIELD(LocalMessage, Switch, base),                                \
        JOB_FIELD(LocalMessageDelay, Number, base), JOB_FIELD(LocalMessageInterval, Number, base),         \
        JOB_FIELD(NetMessage, Switch, base), JOB_FIELD(NetMessageDelay, Number, base),                     \
        JOB_FIELD(NetMessageInterval, Number, base), JOB_FIELD(Shutdown, Switch, base),                    \
        JOB_FIELD(ShutdownDelay, Number, base), JOB_FIELD(Email, Switch, base),                            \
        JOB_FIELD(EmailDelay, Number, base), JOB_FIELD(SMS, Switch, base), JOB_FIELD(SMSDelay, Number, base), \
        JOB_FIELD(Call, Switch, base), JOB_FIELD(CallDelay, Number, base), JOB_FIELD(Fax, Switch, base),   \
        JOB_FIELD(FaxDelay, Number, base), JOB_FIELD(Voice, Switch, base), JOB_FIELD(VoiceDelay, Number, base), \
        JOB_FIELD(Message, Text, base)

const Field kJobKeys[] = {JOB_KEYS(0)};

const Field kGroupCommonKeys[] = {
    TEXT(GroupEntry, Name),
    NUMBER(GroupEntry, AllowedBatteryShutdown),
    NUMBER(GroupEntry, AllowedSystemShutdown),
    NUMBER(GroupEntry, AllowedUPSShutdown),
    NUMBER(GroupEntry, AllowedUPSReboot),
    NUMBER(GroupEntry, BatteryRuntimeShutdown),
    NUMBER(GroupEntry, SystemShutdownDelay),
    NUMBER(GroupEntry, UPSShutdownDelay),
    NUMBER(GroupEntry, RedundancyLevel),
};

// Member slot k of [UPS] is key UPS_0k, at offset 2k from the first member.
#define MEMBER(k) {"UPS_0" #k, (k) * sizeof(uint16_t), sizeof(uint16_t), FieldKind::Number}
const Field kGroupMemberKeys[] = {MEMBER(0), MEMBER(1), MEMBER(2), MEMBER(3),
                                  MEMBER(4), MEMBER(5), MEMBER(6), MEMBER(7)};

#define CONDITION(name, array, k) \
    {name, offsetof(GroupEvent, array) + (k) * sizeof(uint16_t), sizeof(uint16_t), FieldKind::Switch}
const Field kGroupEventKeys[] = {
    CONDITION("Type1", Type, 0),         CONDITION("Type2", Type, 1),         CONDITION("Type3", Type, 2),
    CONDITION("Type4", Type, 3),         CONDITION("Type5", Type, 4),         CONDITION("Type6", Type, 5),
    CONDITION("Priority1", Priority, 0), CONDITION("Priority2", Priority, 1), CONDITION("Priority3", Priority, 2),
    CONDITION("Priority4", Priority, 3), CONDITION("Priority5", Priority, 4), CONDITION("Priority6", Priority, 5),
    JOB_KEYS(offsetof(GroupEvent, Job)),
};

const Field kSensorKeys[] = {
    TEXT(SensorEntry, Name),
    NUMBER(SensorEntry, SensorType),
    NUMBER(SensorEntry, IndexUPS),
    NUMBER(SensorEntry, IndexSensor),
    NUMBER(SensorEntry, HumThrUp),
    NUMBER(SensorEntry, HumThrDown),
    NUMBER(SensorEntry, TempThrUp),
    NUMBER(SensorEntry, TempThrDown),
    NUMBER(SensorEntry, DgInputNormalOpen),
    NUMBER(SensorEntry, DgOutputEnableUps),
    NUMBER(SensorEntry, DgOutputUps),
    NUMBER(SensorEntry, DgOutputEnableSensor),
    NUMBER(SensorEntry, DgOutputSensor),
};

static_assert(sizeof kSystemKeys / sizeof(Field) == 27, "[System] keys");
static_assert(sizeof kUpsKeys / sizeof(Field) == 26, "[UPS_nn] keys");
static_assert(sizeof kJobKeys / sizeof(Field) == 25, "job keys");
static_assert(sizeof kGroupEventKeys / sizeof(Field) == kKeySlots, "group event keys fill their key set");

#define KEYS(table) {table, static_cast<int>(sizeof table / sizeof(Field))}

const KeySet kNoKeys = {nullptr, 0};

// Key sets by file and number; the unlisted ones are empty.
const KeySet kKeySetTable[kIniFiles][kKeySets] = {
    // korvel.ini
    {KEYS(kSystemKeys), KEYS(kSerialKeys), KEYS(kNetworkKeys), KEYS(kEmailConfigKeys), KEYS(kSmsConfigKeys),
     KEYS(kModemConfigKeys), KEYS(kEmailKeys), KEYS(kSmsKeys), KEYS(kScheduleKeys), KEYS(kMessKeys),
     KEYS(kUpsKeys), KEYS(kMessConfigKeys), KEYS(kViewerModemKeys), KEYS(kWapKeys), KEYS(kFaxKeys),
     KEYS(kVoiceKeys)},
    {KEYS(kJobKeys)},                                                    // jobs.ini
    {KEYS(kGroupCommonKeys), KEYS(kGroupMemberKeys), KEYS(kGroupEventKeys)},  // group_xx.ini
    {KEYS(kSensorKeys)},                                                 // sensor.ini
    {KEYS(kJobKeys)},                                                    // jobsSTS.ini
};

#define AT(member) static_cast<uint32_t>(offsetof(ConfigRecord, member))
#define IN_GROUP(member) static_cast<uint32_t>(offsetof(GroupEntry, member))

}  // namespace

// Sections in the order the writers write them.
constexpr SectionKind kSectionKinds[] = {
    {kKorvelIni, "System", 0, 1, 0, AT(System), sizeof(SystemSettings), 1, false, false},
    {kKorvelIni, "Serial_", 1, 8, 1, AT(Serial), sizeof(SerialPort), 1, true, false},
    {kKorvelIni, "Network", 9, 1, 2, AT(Network), sizeof(NetworkSettings), 1, false, false},
    {kKorvelIni, "EmailConfig", 10, 1, 3, AT(EmailConfig), sizeof(EmailService), 1, false, false},
    {kKorvelIni, "SMSConfig", 11, 1, 4, AT(SMSConfig), sizeof(SmsService), 1, false, false},
    {kKorvelIni, "ModemConfig", 12, 1, 5, AT(ModemConfig), sizeof(DialOutModem), 1, false, false},
    {kKorvelIni, "Email_", 13, 10, 6, AT(Email), sizeof(EmailRecipient), kEmailRecipients, true, false},
    {kKorvelIni, "SMS_", 23, 10, 7, AT(SMS), sizeof(SmsRecipient), kSmsRecipients, true, false},
    {kKorvelIni, "Schedule_", 33, 20, 8, AT(Schedule), sizeof(ScheduleEntry), kSchedules, true, false},
    {kKorvelIni, "Mess_", 53, 10, 9, AT(Mess), sizeof(MessageText), kMessageTexts, true, false},
    {kKorvelIni, "UPS_", 63, 32, 10, AT(UPS), sizeof(UpsEntry), kUpsEntries, true, false},
    {kKorvelIni, "MessConfig", 95, 1, 11, AT(MessConfig), sizeof(Messaging), 1, false, false},
    {kKorvelIni, "BriskenModemConfig", 96, 1, 12, AT(BriskenModemConfig), sizeof(ViewerModem), 1, false, false},
    {kKorvelIni, "WapConfig", 97, 1, 13, AT(WapConfig), sizeof(WapService), 1, false, false},
    {kKorvelIni, "FaxConfig", 98, 1, 14, AT(FaxConfig), sizeof(FaxService), 1, false, false},
    {kKorvelIni, "VoiceConfig", 99, 1, 15, AT(VoiceConfig), sizeof(VoiceService), 1, false, false},
    {kJobsIni, "Job_", 0, 30, 0, AT(Job), sizeof(JobEntry), kJobs, false, false},
    {kGroupIni, "Common", 0, 1, 0, 0, sizeof(GroupEntry), 1, false, false},
    {kGroupIni, "UPS", 1, 1, 1, IN_GROUP(UPS), sizeof(GroupEntry::UPS), 1, false, true},
    {kGroupIni, "Event_", 2, 64, 2, IN_GROUP(Event), sizeof(GroupEvent), kGroupEvents, true, false},
    {kSensorIni, "Sensor_", 0, 32, 0, AT(Sensor), sizeof(SensorEntry), kSensors, false, false},
    {kJobsStsIni, "Job_", 0, 30, 0, AT(JobSTS), sizeof(JobEntry), kJobs, false, false},
};
const int kSectionKindCount = static_cast<int>(sizeof kSectionKinds / sizeof kSectionKinds[0]);

const Field *field_named(const KeySet &keys, const char *key) {
    for (int slot = 0; slot < keys.count; ++slot) {
        if (std::strcmp(keys.fields[slot].key, key) == 0) return &keys.fields[slot];
    }
    return nullptr;
}

const KeySet &key_set(int file, int set) {
    if (file < 0 || file >= kIniFiles || set < 0 || set >= kKeySets || !kKeySetTable[file][set].fields) {
        return kNoKeys;
    }
    return kKeySetTable[file][set];
}

namespace {

// The kind of every section slot, looked up once per key line while reading:
// 1 + its index in kSectionKinds, 0 for none. Worked out by the compiler, it
// costs a process nothing to set up.
struct SlotKinds {
    uint8_t kind[kIniFiles][256] = {};
    constexpr SlotKinds() {
        for (size_t k = 0; k < sizeof kSectionKinds / sizeof kSectionKinds[0]; ++k) {
            const SectionKind &entry = kSectionKinds[k];
            for (int i = 0; i < entry.slots; ++i) kind[entry.file][entry.first_slot + i] = static_cast<uint8_t>(k + 1);
        }
    }
};
constexpr SlotKinds kSlotKinds;
static_assert(sizeof kSectionKinds / sizeof kSectionKinds[0] < 255, "a slot's kind is stored in a byte");

}  // namespace

const SectionKind *section_kind(int file, int slot) {
    if (file < 0 || file >= kIniFiles || slot < 0 || slot > 255) return nullptr;
    int kind = kSlotKinds.kind[file][slot];
    return kind ? &kSectionKinds[kind - 1] : nullptr;
}

namespace {

// Section names spelled out once from the kinds: "Serial_00" ... "Serial_07".
struct SectionNameTable {
    char name[kIniFiles][kSectionSlots][kNameSize] = {};
    SectionNameTable() {
        for (const SectionKind &kind : kSectionKinds) {
            for (int i = 0; i < kind.slots; ++i) {
                char *slot = name[kind.file][kind.first_slot + i];
                if (kind.slots == 1) {
                    std::snprintf(slot, kNameSize, "%s", kind.name);
                } else {
                    std::snprintf(slot, kNameSize, "%s%02d", kind.name, i);
                }
            }
        }
    }
};

const SectionNameTable &section_names() {
    static const SectionNameTable table;
    return table;
}

}  // namespace

const char *SectionNames(int file, int slot) {
    if (file < 0 || file >= kIniFiles || slot < 0 || slot >= kSectionSlots) return "";
    return section_names().name[file][slot];
}

const char *LineNames(int file, int set, int slot) {
    const KeySet &keys = key_set(file, set);
    return slot >= 0 && slot < keys.count ? keys.fields[slot].key : "";
}

unsigned field_number(const unsigned char *where, unsigned width) {
    if (width == 1) return *where;
    uint16_t value;
    std::memcpy(&value, where, sizeof value);
    return value;
}

bool entry_used(const KeySet &keys, const unsigned char *entry) {
    const Field &first = keys.fields[0];
    const unsigned char *where = entry + first.offset;
    return first.kind == FieldKind::Text ? where[0] != 0 : field_number(where, first.width) != 0;
}
