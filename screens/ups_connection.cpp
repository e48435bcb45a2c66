// How Korvel reaches one UPS: the connection kind and, by kind, the serial
// port and line address or the network address, device number and password.
#include <cstring>
#include <initializer_list>

#include "config/limits.h"
#include "config/record.h"
#include "console/input.h"
#include "console/lang.h"
#include "console/screen.h"
#include "console/terminal.h"
#include "screens/screens.h"

namespace {

constexpr unsigned kFirstLine = 7;
enum Row : unsigned {
    kKind = 1,
    kPort = 3, kAddress = 4,
    kNetworkAddress = 6, kDevice = 7, kProtection = 8, kPassword = 9,
    kBack = 11,
};

// The rows the marker stands on, in order, for the entry's kind. Kinds
// outside the cycle offer only the kind row: the marker does not move. The
// password row stays a way through while the marker is on it, even when the
// password just typed has the digest 0 and the row is dimmed.
int applicable_rows(const UpsEntry &entry, unsigned marker, unsigned rows[6]) {
    int count = 0;
    auto add = [&](std::initializer_list<unsigned> list) {
        for (unsigned row : list) rows[count++] = row;
    };
    switch (entry.Connection) {
    case kSerialLine: add({kKind, kPort, kAddress, kBack}); break;
    case kSnmp:
    case kSnmpRfc1628: add({kKind, kNetworkAddress, kDevice, kBack}); break;
    case kTcpIp:
        add({kKind, kNetworkAddress, kDevice, kProtection});
        if (entry.Password || marker == kPassword) add({kPassword});
        add({kBack});
        break;
    default: add({kKind}); break;
    }
    return count;
}

// Enter on the kind steps round serial, TCP/IP, SNMP, SNMP (RFC 1628).
uint16_t next_kind(uint16_t kind) {
    switch (kind) {
    case kSerialLine: return kTcpIp;
    case kTcpIp: return kSnmp;
    case kSnmp: return kSnmpRfc1628;
    case kSnmpRfc1628: return kSerialLine;
    default: return kind;
    }
}

const char *kind_text(uint16_t kind) {
    switch (kind) {
    case kSerialLine: return LangText[131];
    case kSnmp: return "SNMP";
    case kTcpIp: return "TCP/IP";
    case kSnmpRfc1628: return "SNMP - RFC1628";
    default: return LangText[242];
    }
}

}  // namespace

void print_ups_conn_param(unsigned row, int index) {
    const UpsEntry &entry = INI1.UPS[index];
    const uint16_t kind = entry.Connection;
    const bool serial = kind == kSerialLine;
    const bool networked = kind == kSnmp || kind == kTcpIp || kind == kSnmpRfc1628;
    draw_title_block(2, LangText[130]);
    con_printf("\n\r      1 - %s:     [", LangText[130]);
    print_value("%s", kind_text(kind));
    con_puts("]");
    print_line(0);
    if (serial) {
        con_printf("\n\r          1.2 - %s:", LangText[187]);
        print_value("     %.*s", static_cast<int>(sizeof entry.Port), entry.Port);
        con_printf("\n\r          1.3 - %s:", LangText[133]);
        print_value("     %02u", entry.Address);
    } else {
        print_dimmed("\n\r          1.2 - %s:", LangText[187]);
        print_dimmed("\n\r          1.3 - %s:", LangText[133]);
    }
    print_line(0);
    if (networked) {
        con_printf("\n\r          2.1 - %s:", LangText[135]);
        if (kind == kSnmpRfc1628) {
            print_value("     %.*s", static_cast<int>(sizeof entry.Port), entry.Port);
        } else {
            print_value("     %.*s", static_cast<int>(sizeof entry.IPAddress), entry.IPAddress);
        }
        con_printf("\n\r          2.2 - %s:", LangText[136]);
        print_value("     %u", entry.Device);
    } else {
        print_dimmed("\n\r          2.1 - %s:", LangText[135]);
        print_dimmed("\n\r          2.2 - %s:", LangText[136]);
    }
    if (kind == kTcpIp) {
        con_printf("\n\r          2.3 - %s:     [", LangText[38]);
        print_switch(entry.Password != 0, LangText[316], LangText[317]);
    } else {
        print_dimmed("\n\r          2.3 - %s:", LangText[38]);
    }
    print_item(kind == kTcpIp && entry.Password, "\n\r              2.3.1 - %s", LangText[342]);
    print_screen_end("\n\r      0 - ", row, kFirstLine);
}

void ups_conn_param(int index) {
    UpsEntry &entry = INI1.UPS[index];
    unsigned row = kKind;
    print_ups_conn_param(row, index);
    for (;;) {
        MenuKey key = read_key();
        unsigned rows[6];
        int count = applicable_rows(entry, row, rows);
        int at = 0;
        while (at < count && rows[at] != row) ++at;
        if (at < count) {
            if (key == KEY_DOWN && at + 1 < count) move_marker(row, rows[at + 1], kFirstLine);
            if (key == KEY_UP && at > 0) move_marker(row, rows[at - 1], kFirstLine);
        }
        if (key != KEY_ENTER) continue;

        switch (row) {
        case kKind: entry.Connection = next_kind(entry.Connection); break;  // no field is reset
        case kPort: enter_text(LangText[187], entry.Port, sizeof entry.Port); break;
        case kAddress:
            entry.Address = static_cast<uint8_t>(enter_limited(LangText[133], entry.Address, range_of(Limit::UpsAddress), 0, 255, " : "));
            break;
        case kNetworkAddress:
            if (entry.Connection == kSnmpRfc1628) {
                // This kind keeps its address in Port.
                enter_text(LangText[135], entry.Port, sizeof entry.Port);
                set_text(entry.IPAddress, sizeof entry.IPAddress, "127.0.0.1");
            } else {
                enter_text(LangText[135], entry.IPAddress, sizeof entry.IPAddress);
            }
            break;
        case kDevice: entry.Device = enter_limited(LangText[136], entry.Device, range_of(Limit::UpsDevice)); break;
        case kProtection: entry.Password = entry.Password ? 0 : 1; break;
        case kPassword: {
            uint16_t protection;  // the field itself may sit unaligned in its packed record
            if (!enter_password(120, &protection)) row = kProtection;
            entry.Password = protection;
            break;
        }
        case kBack: return;
        }
        print_ups_conn_param(row, index);
    }
}
