// What the contract's types are read from: an exported variable for each C function, and for each
// other type that a host or a platform is handed. CONTRACT_FUNCTIONS is F(name) for each function.
#include "zevo/account.h"
#include "zevo/api_table.h"
#include "zevo/cgi.h"
#include "zevo/connections.h"
#include "zevo/error.h"
#include "zevo/keyed_file.h"
#include "zevo/local_account.h"
#include "zevo/login_log.h"
#include "zevo/session_file.h"
#include "zevo/string_list.h"
#include "zevo/unicode.h"

extern "C" {

#define F(name) ZEVO_EXPORT decltype(&(name)) function_##name;
CONTRACT_FUNCTIONS

ZEVO_EXPORT GetAPITableFunction get_table;
ZEVO_EXPORT ZEVO_CURCONN_TYPE connection_type;
ZEVO_EXPORT ZEVO_ERROR error_code;

}  // extern "C"
