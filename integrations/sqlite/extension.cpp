// Entry point: SELECT load_extension('qzsqlite') or .load qzsqlite
#include "sql.h"

SQLITE_EXTENSION_INIT1

extern "C" __attribute__((visibility("default"))) int sqlite3_qzsqlite_init(sqlite3* database, char** message,
                                                                            const sqlite3_api_routines* routines) {
    SQLITE_EXTENSION_INIT2(routines);
    try {
        qzsqlite::register_functions(database);
        qzsqlite::register_tables(database);
        return SQLITE_OK;
    } catch (const std::exception& error) {
        *message = sqlite3_mprintf("%s", error.what());
        return SQLITE_ERROR;
    }
}
