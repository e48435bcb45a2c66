/* The least a process can do for `corvanectl get System.Name`: a static C
 * program that reads korvel.ini and prints one value, which bench_ctl runs
 * as the floor corvanectl is measured against. It knows nothing of Korvel's
 * reading rules; it only finds the key in its section.
 *   bench_floor FILE SECTION KEY */
#include <stdio.h>
#include <string.h>

int main(int argc, char **argv) {
    if (argc != 4) return 2;
    FILE *file = fopen(argv[1], "r");
    if (!file) return 1;
    char line[300], header[64];
    snprintf(header, sizeof header, "[%s]", argv[2]);
    size_t key = strlen(argv[3]);
    int inside = 0;
    while (fgets(line, sizeof line, file)) {
        if (line[0] == '[') {
            inside = strncmp(line, header, strlen(header)) == 0;
        } else if (inside && strncmp(line, argv[3], key) == 0 && line[key] == '=') {
            char *value = line + key + 1;
            value[strcspn(value, "\r\n")] = '\0';
            if (*value == '"') {
                ++value;
                value[strcspn(value, "\"")] = '\0';
            }
            puts(value);
            fclose(file);
            return 0;
        }
    }
    fclose(file);
    return 1;
}
