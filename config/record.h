// The configuration record: every setting of every Korvel file in one
// byte-packed, fixed-layout structure.
//
// `INI` is what was loaded (and what the writers write); `INI1` is the
// working copy the screens edit. Fields carry the names of the INI keys that
// store them. Numbers are unsigned 8- or 16-bit in host order; texts are
// fixed arrays, and a text that fills its array has no terminating zero.
//
// The layout is packed: 16-bit fields may stand at odd addresses. Read and
// assign them by member access only; never take a pointer or reference to
// one (the reader reaches fields by byte offset with memcpy).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#pragma pack(push, 1)

struct SystemSettings {
    char Name[32];
    char Location[32];
    char Contact[32];
    uint8_t Language;
    uint8_t EventLog;
    uint16_t DataLog;
    uint16_t DataLogRate;
    uint16_t DataLogMin;
    uint16_t DataLogMax;
    uint8_t SaveFiles;
    uint8_t ShutdownType;
    uint8_t HibernateSupport;
    uint8_t Unnamed;  // never read or written by key
    uint8_t DelayOfAlarm;
    char KeyCode[32];
    uint8_t EnabledGroups;
    uint8_t DeviceActions;
    uint8_t LostCommRaiseAlarm;
    uint8_t DisableShutdownForSingleUPS;
    uint8_t DebugLog;
    uint8_t AutoClose;
    uint8_t DisableJobs;
    uint8_t IgnoreRemoteUPSCommands;
    uint8_t OEMMode;
    uint8_t DebugMode;
    uint16_t PasswordProtection;
};

struct SerialPort {
    char Device[24];
    uint16_t Baudrate;
    uint8_t Bits;
    uint8_t Stop;
    uint8_t Parity;
    uint8_t CheckRate;
};

struct NetworkSettings {
    uint8_t CheckRate;
    uint8_t Server;
    uint8_t DelayApplication;  // key of [System]
    uint8_t SNMP;
    uint16_t Port;
    uint8_t HTTP;
    uint8_t Nodemon;  // key of [System]
    char HTTPPath[256];
    char RemoteIPAddress[32];
    uint16_t RemoteDevice;
    uint8_t RemoteConnection;
    uint8_t RemoteAutoStart;
};

struct EmailRecipient {
    char Name[32];
    char EmailAddress[80];
};

struct SmsRecipient {
    char Name[32];
    char TelNumber[32];
};

struct MessageText {
    char Name[50];
};

// Schedule actions and periods, as stored in the schedule text.
enum ScheduleAction : uint8_t {
    kActionUnused = 0,
    kSysShutdown = 1,
    kUpsShutdown = 2,
    kUpsReboot = 3,
    kUpsTest = 4,
    kBatteryTest = 5,
    kPanelTest = 6,
    kOsShutdown = 7,
};
enum SchedulePeriod : uint8_t { kOnce = 1, kDaily = 2, kWeekly = 3, kMonthly = 4 };

struct ScheduleEntry {
    char Data[20];       // the stored text: 18 hexadecimal digits
    uint32_t StartTime;  // calendar seconds
    uint16_t UpsIndex;   // UPS entry 0-15
    uint8_t Action;      // ScheduleAction; 0: entry unused
    uint8_t Period;      // SchedulePeriod
    uint8_t PeriodDay;   // weekday 0-6 (Sunday first) or day of month 1-31
    uint8_t Reserved;
    int32_t LastRun;     // the minute it last fired; never stored in the file
};

// Connection kinds of a UPS entry.
enum UpsConnection : uint16_t { kSerialLine = 0, kSnmp = 2, kTcpIp = 3, kSnmpRfc1628 = 5 };

struct UpsEntry {
    char Name[20];
    char Type[20];    // the UPS model code
    char Serial[20];  // the serial number printed on the device
    uint16_t Connection;
    char Port[24];
    uint8_t Address;
    uint8_t Unnamed;  // never read or written by key
    char IPAddress[20];
    uint16_t Device;
    uint8_t Message;
    uint8_t MessageDelay;
    uint16_t MessageRate;
    uint8_t MessageType;
    uint8_t SystemShutdown;
    uint8_t SystemShutDelayAllow;
    uint8_t SystemShutLeadAllow;
    uint16_t SystemShutdownDelay;
    uint16_t SystemShutdownLead;
    uint8_t UPSShutdown;
    uint8_t UPSReboot;  // before UPSShutdownDelay here, after it in the file
    uint16_t UPSShutdownDelay;
    uint16_t Password;  // 0, or the password digest
    uint8_t HaveSensor;
    uint16_t RTGConnTime;
    uint16_t RTGTimeout;
    char SNMPGetComm[32];
    char SNMPSetComm[32];
};

// The actions Korvel takes on one event; shared by jobs.ini, jobsSTS.ini and
// every group event.
struct JobEntry {
    uint16_t Log;
    uint16_t LogDelay;
    uint16_t Execute;
    uint16_t ExecuteDelay;
    uint16_t ExecuteInterval;
    char File[260];  // the program to execute
    uint16_t LocalMessage;
    uint16_t LocalMessageDelay;
    uint16_t LocalMessageInterval;
    uint16_t NetMessage;
    uint16_t NetMessageDelay;
    uint16_t NetMessageInterval;
    uint16_t Shutdown;
    uint16_t ShutdownDelay;
    uint16_t Email;
    uint16_t EmailDelay;
    uint16_t SMS;
    uint16_t SMSDelay;
    uint16_t Call;
    uint16_t CallDelay;
    uint16_t Fax;
    uint16_t FaxDelay;
    uint16_t Voice;
    uint16_t VoiceDelay;
    char Message[120];
};

// One rule of a group: up to six conditions (keys Type1-Type6 with their
// qualifiers Priority1-Priority6) and the job run when they hold. Its packed
// layout is also the record of the group profile file.
struct GroupEvent {
    uint16_t Type[6];      // 0: empty slot; Type[0] == 0: event unused
    uint16_t Priority[6];
    JobEntry Job;
};

constexpr int kGroupMembers = 8;
constexpr int kGroupEvents = 64;

struct GroupEntry {
    char Name[32];  // empty: group not in use
    uint16_t UPS[kGroupMembers];  // keys UPS_00-UPS_07: 0 empty, k = UPS entry k - 1
    uint8_t AllowedBatteryShutdown;
    uint8_t AllowedSystemShutdown;
    uint8_t AllowedUPSShutdown;
    uint8_t AllowedUPSReboot;
    uint16_t BatteryRuntimeShutdown;
    uint16_t SystemShutdownDelay;
    uint16_t UPSShutdownDelay;
    uint8_t RedundancyLevel;
    GroupEvent Event[kGroupEvents];
};

struct EmailService {
    uint8_t Allowed;
    uint8_t Timeout;
    char Server[32];
    char Domain[32];
    uint16_t Port;
    char Name[32];
    char Address[80];
    char Subject[128];
    uint8_t AuthAllowed;
    char Login[64];
    char Password[64];  // the mail account's password, in plain text
};

struct SmsService {
    uint8_t Allowed;
    uint8_t Type;  // 0 Siemens, 1 Falcom
    char Port[24];
    char SMSCentre[26];
};

struct DialOutModem {
    uint8_t Allowed;
    uint8_t IncommingAllowed;
    char Port[24];
    char Number1[26];
    char Number2[26];
    uint8_t Repeat;
    uint8_t Delay;
    char InitString[26];
    char DialString[26];
};

struct Messaging {
    uint8_t Type;
};

struct WapService {
    uint8_t Allowed;
    uint16_t Port;
};

struct FaxService {
    uint8_t Allowed;
    uint8_t LocalRemote;
    char Fax[128];
    char Name[32];
    char Company[32];
    char Number[26];
};

struct VoiceService {
    uint8_t Allowed;
    uint8_t ModemID;
    uint8_t Delay;
    uint8_t Retry;
    char Number[26];
};

struct ViewerModem {
    char Port[24];
    char Number[26];
    uint16_t DeviceNo;
    char InitString[26];
    char DialString[26];
};

struct SensorEntry {
    char Name[32];
    uint8_t SensorType;
    uint8_t IndexUPS;
    uint8_t IndexSensor;
    uint8_t HumThrUp;
    uint8_t HumThrDown;
    uint16_t TempThrUp;
    uint16_t TempThrDown;
    uint8_t DgInputNormalOpen;
    uint8_t DgOutputEnableUps;
    uint8_t DgOutputUps;
    uint8_t DgOutputEnableSensor;
    uint8_t DgOutputSensor;
};

constexpr int kEmailRecipients = 10;
constexpr int kSmsRecipients = 10;
constexpr int kMessageTexts = 10;
constexpr int kSchedules = 16;
constexpr int kUpsEntries = 16;
constexpr int kJobs = 30;
constexpr int kGroups = 10;
constexpr int kSensors = 32;

struct ConfigRecord {
    SystemSettings System;
    SerialPort Serial[1];
    NetworkSettings Network;
    EmailRecipient Email[kEmailRecipients];
    SmsRecipient SMS[kSmsRecipients];
    MessageText Mess[kMessageTexts];
    ScheduleEntry Schedule[kSchedules];
    UpsEntry UPS[kUpsEntries];
    JobEntry Job[kJobs];     // jobs.ini
    JobEntry JobSTS[kJobs];  // jobsSTS.ini
    GroupEntry Group[kGroups];
    EmailService EmailConfig;
    SmsService SMSConfig;
    DialOutModem ModemConfig;
    Messaging MessConfig;
    WapService WapConfig;
    FaxService FaxConfig;
    VoiceService VoiceConfig;
    ViewerModem BriskenModemConfig;
    SensorEntry Sensor[kSensors];
    // Never read or written by key: it keeps whatever the reader writes past
    // the last sensor inside the record.
    uint8_t Reserved[64];
};

#pragma pack(pop)

static_assert(sizeof(SystemSettings) == 155, "[System] block");
static_assert(sizeof(SerialPort) == 30, "serial port entry");
static_assert(sizeof(NetworkSettings) == 300, "network block");
static_assert(sizeof(EmailRecipient) == 112, "e-mail recipient entry");
static_assert(sizeof(SmsRecipient) == 64, "SMS recipient entry");
static_assert(sizeof(MessageText) == 50, "message text entry");
static_assert(sizeof(ScheduleEntry) == 34, "schedule entry");
static_assert(sizeof(UpsEntry) == 197, "UPS entry");
static_assert(sizeof(JobEntry) == 426, "job entry");
static_assert(sizeof(GroupEvent) == 450, "group event entry");
static_assert(sizeof(GroupEntry) == 28859, "group entry");
static_assert(sizeof(EmailService) == 437, "[EmailConfig] block");
static_assert(sizeof(SmsService) == 52, "[SMSConfig] block");
static_assert(sizeof(DialOutModem) == 132, "[ModemConfig] block");
static_assert(sizeof(WapService) == 3, "[WapConfig] block");
static_assert(sizeof(FaxService) == 220, "[FaxConfig] block");
static_assert(sizeof(VoiceService) == 30, "[VoiceConfig] block");
static_assert(sizeof(ViewerModem) == 104, "[BriskenModemConfig] block");
static_assert(sizeof(SensorEntry) == 46, "sensor entry");
static_assert(offsetof(ConfigRecord, Reserved) == 323042, "the fields end before the reserved tail");
static_assert(sizeof(ConfigRecord) == 323106, "the whole record");

// The group event is the group profile's file record: these offsets are a
// file format.
#define CORVANE_EVENT_AT(field, at) static_assert(offsetof(GroupEvent, field) == (at), #field)
CORVANE_EVENT_AT(Type, 0);
CORVANE_EVENT_AT(Priority, 12);
CORVANE_EVENT_AT(Job.Log, 24);
CORVANE_EVENT_AT(Job.LogDelay, 26);
CORVANE_EVENT_AT(Job.Execute, 28);
CORVANE_EVENT_AT(Job.ExecuteDelay, 30);
CORVANE_EVENT_AT(Job.ExecuteInterval, 32);
CORVANE_EVENT_AT(Job.File, 34);
CORVANE_EVENT_AT(Job.LocalMessage, 294);
CORVANE_EVENT_AT(Job.LocalMessageDelay, 296);
CORVANE_EVENT_AT(Job.LocalMessageInterval, 298);
CORVANE_EVENT_AT(Job.NetMessage, 300);
CORVANE_EVENT_AT(Job.NetMessageDelay, 302);
CORVANE_EVENT_AT(Job.NetMessageInterval, 304);
CORVANE_EVENT_AT(Job.Shutdown, 306);
CORVANE_EVENT_AT(Job.ShutdownDelay, 308);
CORVANE_EVENT_AT(Job.Email, 310);
CORVANE_EVENT_AT(Job.EmailDelay, 312);
CORVANE_EVENT_AT(Job.SMS, 314);
CORVANE_EVENT_AT(Job.SMSDelay, 316);
CORVANE_EVENT_AT(Job.Call, 318);
CORVANE_EVENT_AT(Job.CallDelay, 320);
CORVANE_EVENT_AT(Job.Fax, 322);
CORVANE_EVENT_AT(Job.FaxDelay, 324);
CORVANE_EVENT_AT(Job.Voice, 326);
CORVANE_EVENT_AT(Job.VoiceDelay, 328);
CORVANE_EVENT_AT(Job.Message, 330);
#undef CORVANE_EVENT_AT

// Stores `text` in a text field of `width` bytes: the rest of the field is
// zeroed, and a text as long as the field or longer fills it without a
// terminator.
inline void set_text(char *field, size_t width, const char *text) {
    size_t length = strnlen(text, width);
    std::memcpy(field, text, length);
    std::memset(field + length, 0, width - length);
}

// The loaded record, and the working copy the screens edit. Each begins on
// a page of its own.
extern ConfigRecord INI;
extern ConfigRecord INI1;

// Clearing and copying a record a page at a time, for a process that reads
// a few files once: a page is 4096 bytes of the record from its start. A
// page cleared this way is given back to the system, which hands out a
// zeroed one only when it is touched again, so memory that holds nothing
// costs nothing. (Pages still in use are cheaper to clear with memset.)
constexpr size_t kRecordPage = 4096;
constexpr size_t kRecordPages = (sizeof(ConfigRecord) + kRecordPage - 1) / kRecordPage;
void clear_record_pages(ConfigRecord &record);
// Copies the pages of `from` that `used` marks into `to` and clears the
// others of `to` as above: `from` must hold only zeros outside them.
void copy_record_pages(ConfigRecord &to, const ConfigRecord &from, const bool (&used)[kRecordPages]);
