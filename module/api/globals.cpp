#include "api/globals.h"

// In one file, so that the texts are loaded before the titles are taken from them.
StringBundle strbundle("common", "log", "pppoe", nullptr, nullptr, nullptr);

const char* gLogColumnTitles[kLogColumns] = {
    strbundle.Text("log_time", ""),     strbundle.Text("log_account", ""),
    strbundle.Text("log_client", ""),   "service",
    strbundle.Text("log_resource", ""),
};

const char* gLogColumnAligns[kLogColumns] = {"left", "left", "left", "left", "left"};
