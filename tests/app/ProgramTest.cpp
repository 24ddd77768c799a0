#include "app/ProgramTest.h"

#include "json/Json.h"
#include "store/TestRoot.h"
#include "support/Shell.h"

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// For the shell. Nothing here has a quotation mark in it.
std::string quoted(const std::string &word) {
    return '\'' + word + "' ";
}

} // namespace

Program::Outcome Program::run() const {
    const TestTree captured;
    std::string command = "exec env -i PATH=\"$PATH\" "; // in place of the shell, which would tell of a kill
    for (const auto &[name, value] : environment)
        command += quoted(name + '=' + value);
    for (const std::string &word : words)
        command += quoted(word);
    const int status =
        std::system((command + ">" + quoted(captured / "out") + "2>" + quoted(captured / "err")).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), captured.read("out"),
            captured.read("err")};
}

ProgramTest::ProgramTest() {
    for (const char *folder : {"Photos", "OneDrive", "home"})
        tree.dir(folder);
}

Program ProgramTest::backUp(const Lines &options) const {
    Program program;
    program.words = {TARNWICK_PROGRAM, "--backup", tree / "Photos", tree / "OneDrive/Photos"};
    program.words.insert(program.words.end(), options.begin(), options.end());
    program.environment = {{"HOME", tree / "home"}};
    return program;
}

std::string ProgramTest::inTree(std::string text) const {
    for (std::size_t at; (at = text.find('@')) != std::string::npos;)
        text.replace(at, 1, tree.top());
    return text;
}

ProgramTest::Lines ProgramTest::leftovers() const {
    Lines found;
    for (const char *side : {"OneDrive", "home"}) {
        for (const auto &[path, facts] : tree.snapshot(side)) {
            const std::string name = fs::path(path).filename();
            if (name.starts_with(".tw-") || name.find("NSIRD_") != std::string::npos)
                found.push_back(std::string(side) + '/' + path);
        }
    }
    return found;
}

ProgramTest::Snapshot ProgramTest::backup() const {
    Snapshot items = fs::exists(tree / "OneDrive/Photos") ? tree.snapshot("OneDrive/Photos") : Snapshot();
    std::erase_if(items, [](const auto &item) { return item.first.find(".tw-") != std::string::npos; });
    return items;
}

void ProgramTest::expectComplete() const {
    EXPECT_TRUE(tree.snapshot("OneDrive/Photos") == tree.snapshot("Photos")) << "the backup isn't complete";
    EXPECT_EQ(leftovers(), Lines());
}

SyncRun ProgramTest::recordOf(const std::string &printed) {
    const SyncRun run = Json::fromBytes<SyncRun>(QByteArray::fromStdString(printed));
    EXPECT_EQ(printed, (Json::toBytes(run) + '\n').toStdString()) << "the layout of the program's own files";
    return run;
}

ProgramTest::Lines ProgramTest::toldBy(const SyncRun &run) {
    Lines lines;
    for (const auto *sentences : {&run.errors, &run.notes}) {
        for (const QString &sentence : *sentences)
            lines.push_back(sentence.toStdString());
    }
    std::sort(lines.begin(), lines.end());
    if (run.fatal)
        lines.push_back(run.fatal->toStdString());
    return lines;
}

ModelTest::ModelTest() {
    TestRoot::prepare(tree.top());
    tree.file("Volumes/Stick/Photos/a.jpg");
    tree.file("Home/Notes/n.txt", "note");
    tree.dir("Home/OneDrive");
    tree.file("Support/tarnwick-basic.lock", "");
    const QString photos = QStringLiteral("Photos"), notes = QStringLiteral("Notes");
    FolderPair onStick{.volumeName = QStringLiteral("Stick"), .sourceRelPath = photos, .backupRelPath = photos};
    FolderPair atHome{.volumeName = QStringLiteral("This Mac"), .sourceRelPath = notes, .backupRelPath = notes};
    atHome.volumeUUID = QStringLiteral("this-mac-home");
    save({.pairs = {onStick, atHome}});
}

Program ModelTest::program(const std::string &arguments) const {
    Program result;
    if (::geteuid() == 0)
        result.words = {"setpriv", "--bounding-set=-dac_override"};
    result.words.push_back(TARNWICK_PROGRAM);
    std::istringstream words(arguments);
    for (std::string word; words >> word;)
        result.words.push_back(inTree(word));
    result.environment = {{"TARNWICK_TEST_ROOT", tree.top()}, {"TARNWICK_FAST_TIMERS", "1"}};
    return result;
}

void ModelTest::save(const AppConfig &settings) {
    tree.file("Support/config.json", Json::toBytes(settings).toStdString());
}

AppConfig ModelTest::settings() const {
    return Json::fromBytes<AppConfig>(QByteArray::fromStdString(tree.read("Support/config.json")));
}

std::vector<SyncRun> ModelTest::history() const {
    return Json::fromBytes<std::vector<SyncRun>>(QByteArray::fromStdString(tree.read("Support/history.json")));
}

std::string ModelTest::log() const {
    const std::string path = "Home/Library/Logs/Tarnwick Basic/Tarnwick Basic.log";
    const std::string text = fs::exists(tree / path) ? tree.read(path) : "";
    return std::regex_replace(text, std::regex("(^|\n)\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d  "), "$1");
}

Untouched::Untouched(const fs::path &folder) : top(folder) {
    shell("cd " + quoted(notes.top()) + "; " + names() + " >names; xargs -0 touch -had @1599999000 <names; " + facts() +
          " >facts");
}

std::string Untouched::names() const {
    return "find " + quoted(top) + " -print0 | sort -z";
}

std::string Untouched::facts() const {
    return "xargs -0 stat -c '%n %i %f %u %g %s %x %y %z' <names";
}

void Untouched::expectUntouched() const {
    // In this order, as to look for the names is to read the folders.
    const std::string changes = shell("cd " + quoted(notes.top()) + "; " + facts() + " 2>&1 | diff facts - | head; " +
                                      names() + " | diff -a names - | head");
    EXPECT_EQ(changes, "");
}
