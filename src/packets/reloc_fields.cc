#include "packets/reloc_fields.h"

// One row of a table a line; the formatter would give every type a line of its own.
// clang-format off
int reloc_size(int type) {
    switch (type) {
    case 52: case 53:
        return 1;
    case 144:
        return 4;
    case 145: case 146:
        return 5;
    case 147:
        return 6;
    case 112: case 120: case 122:
        return 7;
    case 14: case 15: case 18: case 29: case 40: case 49: case 88: case 89: case 93: case 96: case 99: case 104:
    case 136: case 138: case 140: case 142:
        return 8;
    case 123:
        return 9;
    case 83:
        return 10;
    case 113: case 148:
        return 12;
    case 56: case 57: case 58: case 59: case 60: case 61: case 62: case 63:
    case 64: case 65: case 66: case 67: case 68: case 69: case 70: case 71:
        return 15;
    case 16: case 19: case 25: case 27: case 32: case 33: case 41: case 42: case 44: case 45: case 50:
    case 84: case 85: case 87: case 90: case 94: case 95: case 97: case 98:
    case 100: case 101: case 102: case 103: case 105: case 106: case 137: case 139: case 141: case 143: case 149:
        return 16;
    case 128: case 129: case 132:
        return 18;
    case 80: case 81: case 86:
        return 19;
    case 82: case 130: case 131:
        return 21;
    case 5: case 21: case 22: case 23: case 43: case 91: case 124:
        return 24;
    case 6: case 17: case 20: case 24: case 26: case 28: case 79:
        return 32;
    default:
        return 0;
    }
}

int reloc_stop(int type, int size) {
    switch (type) {
    case 136: case 138: case 140: case 142:
        return 8;
    case 122: case 123: case 137: case 139: case 141: case 143: case 149:
        return 16;
    case 22: case 23: case 43: case 80: case 81: case 82: case 83: case 84: case 85: case 86: case 87:
    case 95: case 100: case 112: case 113: case 128: case 129: case 130: case 131: case 132:
        return 32;
    // 54 and 55 are missing on purpose: they take the default.
    case 52: case 53:
    case 56: case 57: case 58: case 59: case 60: case 61: case 62: case 63:
    case 64: case 65: case 66: case 67: case 68: case 69: case 70: case 71:
        return 64;
    default:
        return (size + 7) / 8 * 8;
    }
}

int reloc_offset(int type) {
    switch (type) {
    case 120:
        return 1;
    case 80: case 81: case 86: case 122: case 123: case 144: case 148:
        return 4;
    case 128: case 129: case 132:
        return 5;
    case 82: case 84: case 85: case 87: case 112: case 130: case 131:
        return 7;
    case 83:
        return 13;
    case 113:
        return 16;
    case 53: case 56: case 57: case 58: case 59: case 64: case 65: case 66: case 67:
        return 22;
    default:
        return 0;
    }
}
