// Prints what SQLite's own check says of a store; "ok" is the good answer.
#include <sqlite3.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) return 64;
    sqlite3* database = nullptr;
    sqlite3_stmt* check = nullptr;
    const bool answered =
        sqlite3_open_v2(argv[1], &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, "PRAGMA integrity_check", -1, &check, nullptr) == SQLITE_OK &&
        sqlite3_step(check) == SQLITE_ROW;
    std::printf("%s\n", answered ? reinterpret_cast<const char*>(sqlite3_column_text(check, 0))
                                 : sqlite3_errmsg(database));
    sqlite3_finalize(check);
    sqlite3_close(database);
    return answered ? 0 : 1;
}
