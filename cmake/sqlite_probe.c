#include <sqlite3.h>
#include <stdio.h>

static int run(sqlite3 *db, const char *feature, const char *sql)
{
    char *error = NULL;
    if (sqlite3_exec(db, sql, NULL, NULL, &error) != SQLITE_OK) {
        printf("missing %s: %s\n", feature, error ? error : "unknown error");
        sqlite3_free(error);
        return 1;
    }
    return 0;
}

int main(void)
{
    sqlite3 *db = NULL;
    if (sqlite3_open(":memory:", &db) != SQLITE_OK) {
        printf("cannot open an in-memory database\n");
        return 1;
    }
    int failures = 0;
    failures += run(db, "FTS5", "CREATE VIRTUAL TABLE probe_fts USING fts5(a, b);"
                                "INSERT INTO probe_fts VALUES('kick drum', 'x');"
                                "SELECT count(*) FROM probe_fts WHERE probe_fts MATCH '\"kick\"*';");
    failures += run(db, "unixepoch()", "SELECT unixepoch();");
    failures += run(db, "RETURNING", "CREATE TABLE probe(id INTEGER PRIMARY KEY, v TEXT);"
                                     "INSERT INTO probe(v) VALUES('x') RETURNING id;");
    sqlite3_close(db);
    return failures == 0 ? 0 : 1;
}
