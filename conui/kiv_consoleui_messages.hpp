// Numbers of the library messages the console UI prints: every label,
// header, prompt word and error text comes from the message table, so a
// translated catalog changes all of them. Internal to the console UI.
#ifndef KIV_CONSOLEUI_MESSAGES_HPP
#define KIV_CONSOLEUI_MESSAGES_HPP

constexpr unsigned long MSG_YES = 3;
constexpr unsigned long MSG_NO = 4;
constexpr unsigned long MSG_YES_NO = 5;
constexpr unsigned long MSG_MINIMUM = 6;
constexpr unsigned long MSG_MAXIMUM = 7;
constexpr unsigned long MSG_HELP_CHARS = 8;
constexpr unsigned long MSG_COPYRIGHT_SWITCH = 9;
constexpr unsigned long MSG_QUIET_SWITCH = 10;
constexpr unsigned long MSG_DEFAULT = 11;
constexpr unsigned long MSG_EXCEPTION_HEADER = 12;
constexpr unsigned long MSG_FATAL_HEADER = 13;
constexpr unsigned long MSG_ERROR_HEADER = 14;
constexpr unsigned long MSG_WARNING_HEADER = 15;
constexpr unsigned long MSG_USAGE = 17;
constexpr unsigned long MSG_HELP = 18;
constexpr unsigned long MSG_PRESS_ENTER = 20;
constexpr unsigned long MSG_SPECIFY_HELP = 21;
constexpr unsigned long MSG_NO_HELP = 22;
constexpr unsigned long MSG_UNKNOWN_ARG = 23;
constexpr unsigned long MSG_ARG_NOT_ALLOWED = 24;
constexpr unsigned long MSG_ARG_REPEATED = 25;
constexpr unsigned long MSG_MISSING_SWITCH = 26;
constexpr unsigned long MSG_NO_VALUE = 27;
constexpr unsigned long MSG_NO_NUMERIC_VALUE = 28;
constexpr unsigned long MSG_NOT_NUMERIC = 29;
constexpr unsigned long MSG_INVALID_VALUE = 30;
constexpr unsigned long MSG_ENTER_NUMBER = 31;
constexpr unsigned long MSG_WITHIN_LIMITS = 32;
constexpr unsigned long MSG_PLEASE_USE = 33;
constexpr unsigned long MSG_COPYRIGHT = 34;
constexpr unsigned long MSG_LEVEL = 35;
constexpr unsigned long MSG_PLIM_LEVEL = 36;
constexpr unsigned long MSG_COMPILE_DATE = 38;
constexpr unsigned long MSG_ERROR_ID = 39;
constexpr unsigned long MSG_ERROR_CLASS = 40;
constexpr unsigned long MSG_ERROR_SEVERITY = 41;
constexpr unsigned long MSG_ERROR_ACTION = 42;
constexpr unsigned long MSG_CAUSE = 43;
constexpr unsigned long MSG_MODULE = 44;
constexpr unsigned long MSG_LINE = 46;

#endif  // KIV_CONSOLEUI_MESSAGES_HPP
