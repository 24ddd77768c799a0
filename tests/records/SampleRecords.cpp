#include "records/SampleRecords.h"

namespace {

/// One line of it all, with "#N" for the N-th identity.
QByteArray joined(QByteArray text) {
    for (int i = 1; i <= 5; ++i)
        text.replace("#" + QByteArray::number(i), "0000000" + QByteArray::number(i) + "-1234-ABCD-0102-03040A0B0C0D");
    return text.replace("\n", "");
}

} // namespace

const QByteArray Sample::config = joined(R"({"autoSyncOnConnect":false,"hasCompletedFirstRun":true,
"notifications":false,"oneDriveMountPoint":"/home/u/Library","oneDriveRootPath":"/home/u/Library/OneDrive","pairs":[
{"backupRelPath":"Sicherung/Bücher 😀","enabled":false,"id":"#1","lastOK":true,"lastSummary":"2 files copied",
"lastSync":"2026-09-01T10:00:00Z","sourceRelPath":"Photos/2024","volumeName":"Backup “eins”","volumeUUID":"5A1F-33C0"},
{"backupRelPath":"","enabled":true,"id":"#2","sourceRelPath":"","volumeName":"This Mac"}],"schema":7})");

const QByteArray Sample::run = joined(R"({"bytesCopied":4096,"cancelled":true,"changes":[
{"fromPath":"/media/u/Backup/Photos/2024/a/b.jpg","id":"#3","kind":"updated","pairID":"#1","pairName":"2024",
"path":"/od/Sicherung/a/b.jpg","relPath":"a/b.jpg","size":123456789012}],"changesOmitted":5,"conflicts":["b: clash"],
"errors":["c: failed\nc: again"],"fatal":"The disk is full.","filesCopied":2,"finished":"2026-09-01T10:01:01Z",
"foldersCreated":3,"id":"#5","keptNewer":["a: newer"],"notes":["d"],"pairNames":["2024","Bücher"],"pairResults":[
{"bytes":4096,"copied":2,"errors":1,"name":"2024","note":"Out of space","pairID":"#1"}],"skipped":[
{"detail":".bat","id":"#4","kind":"type","pairID":"#1","pairName":"2024","path":"/media/u/run \"me\".BAT",
"relPath":"run \"me\".BAT"}],"started":"2026-09-01T10:00:00Z","trigger":"driveConnected","upToDate":4})");
