// Disks that fail at any call, of any kind, in everything that reads or writes a file.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include <velmora/containers/vectors.h>
#include <velmora/files/logcharstream.h>
#include <velmora/files/utf8file.h>
#include <velmora/localization/loc.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/bag.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/faults/faults.h"
#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

namespace {

using faults::failEach;
using faults::Fault;

// The message that a failing call comes to.
std::string messageOf(const Fault& fault, const std::string& path) {
    struct Row {
        const char* function;
        const char* key;
        const char* shortKey;  // of a count that is too small without a reason
    };
    static constexpr Row rows[] = {
        {"fopen", "LCA__Cannot_open_file", nullptr},
        {"fread", "LCA__Read_file_error", "LCA__Unexpected_end_of_file"},
        {"fwrite", "LCA__Write_file_error", "LCA__Disk_full"},
        {"fclose", "LCA__Cannot_close_file", nullptr},
        {"fseeko", "LCA__Seek_file_error", nullptr},
        {"unlink", "LCA__Could_not_delete_file", nullptr},
        {"lstat", "LCA__Could_not_delete_file", nullptr},
        {"renameat2", "LCA__Could_not_rename_file", nullptr},
    };
    for (const Row& row : rows) {
        if (fault.function != row.function) continue;
        const char* key = fault.error == 0 && row.shortKey ? row.shortKey : row.key;
        std::string text = std::string(key) + " LCA__Path_s(" + path + ")";
        if (fault.error != 0) text += std::string(" LCA__System_diagnostic_s(") + std::strerror(fault.error) + ")";
        return text;
    }
    return fault.function.empty() ? "(nothing)" : "no row for " + fault.function;
}

std::string bytesOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return "(none)";
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class FilesFault : public testing::Test {
protected:
    support::TempFolder folder;
    const std::string content = std::string(5000, 'c') + "end";
    const std::string path = folder.file("file");
    std::string thrown;  // by the last action

    void prepare() { folder.write("file", content); }
    std::function<void()> preparing() {
        return [this] { prepare(); };
    }
    // Keeps what `action` throws.
    std::function<void()> noting(const std::function<void()>& action) {
        return [this, action] {
            try {
                action();
                thrown = "(nothing)";
            } catch (const TTT& message) {
                thrown = support::dumpMessage(message);
            }
        };
    }
    // A position that cannot be told fails later, by what follows from it.
    void expectThrown(const Fault& fault) {
        if (fault.function != "ftello") {
            EXPECT_EQ(messageOf(fault, path), thrown);
        }
        EXPECT_EQ(fault.function.empty(), thrown == "(nothing)");
    }
};

// ---- whole files ----

// The size of a plain file is one question; only where that fails is the end sought.
TEST_F(FilesFault, LoadAsksForTheSizeOnce) {
    prepare();
    ChArr text;
    {
        const faults::CallCounter counter;
        UTF8File::load(path.c_str(), text, 100000, true);
        EXPECT_EQ(1, counter.of("fstat"));
        EXPECT_EQ(0, counter.of("fseeko") + counter.of("ftello"));
    }
    EXPECT_EQ(content, text.data);
    const faults::AllFail fail({"fstat"}, EIO);
    const faults::CallCounter counter;
    UTF8File::load(path.c_str(), text, 100000, true);
    EXPECT_EQ(2, counter.of("fseeko"));
    EXPECT_EQ(content, text.data);
}

TEST_F(FilesFault, LoadFailsAtEachCallButForTheSize) {
    std::string string;
    int failures = 0;
    const int faults =
        failEach(preparing(), noting([&] { UTF8File::load(path.c_str(), string, 100000); }), [&](const Fault& fault) {
            const bool gotThrough = fault.function.empty() || fault.function == "fstat";
            EXPECT_EQ(gotThrough ? "(nothing)" : messageOf(fault, path), thrown);
            if (gotThrough) {
                EXPECT_EQ(content, string);
            }
            failures += gotThrough ? 0 : 1;
        });
    EXPECT_EQ(2 * 4 + 2 * 5, failures);  // open, close; read
    EXPECT_EQ(failures + 4, faults);
}

TEST_F(FilesFault, LoadIntoEachKind) {
    const faults::AllFail noSize({"fstat"}, EIO);
    ChArr text;
    Bag bag;
    const int faultsOfText = failEach(
        [&] {
            prepare();
            text = "old";
        },
        noting([&] { UTF8File::load(path.c_str(), text, 100000, true); }),
        [&](const Fault& fault) {
            expectThrown(fault);
            EXPECT_EQ(fault.function.empty() ? content : "old", std::string(text.data));
        });
    EXPECT_EQ(6 * 4 + 2 * 5, faultsOfText);  // open, two positions, two seeks, close; read
    failEach(
        [&] {
            prepare();
            bag = Bag("old", 3);
        },
        noting([&] { UTF8File::load(path.c_str(), bag, 100000, true); }),
        [&](const Fault& fault) {
            expectThrown(fault);
            EXPECT_EQ(fault.function.empty() ? content : "old", ChPair(bag).std());
        });
    std::string string;
    failEach(preparing(), noting([&] { UTF8File::load(path.c_str(), string, 100000); }), [&](const Fault& fault) {
        expectThrown(fault);
        if (fault.function.empty()) {
            EXPECT_EQ(content, string);
        }
    });
    CharVector vector;
    failEach(preparing(), noting([&] { UTF8File::load(path.c_str(), vector, 100000); }), [&](const Fault& fault) {
        expectThrown(fault);
        if (fault.function.empty()) {
            EXPECT_EQ(content, ChPair(vector).std());
        }
    });
    ArrayHolder<char> block;
    failEach(preparing(), noting([&] { UTF8File::load(path.c_str(), block, 100000, false); }),
             [&](const Fault& fault) { expectThrown(fault); });
}

// A line that ends because the disk fails is not one that ends with the file.
TEST_F(FilesFault, ReadLineTellsAFailedReadFromTheEnd) {
    int failedReads = 0;
    failEach([&] { folder.write("file", "ab\ncd"); }, noting([&] {
                 UTF8File file(path.c_str(), true);
                 file.open(UTF8File::READ);
                 char line[8];
                 bool eof = false;
                 while (!eof) file.readLine(line, sizeof line, &eof);
             }),
             [&](const Fault& fault) {
                 if (fault.function != "fread") return;
                 ++failedReads;
                 EXPECT_EQ("LCA__Read_file_error LCA__Path_s(" + path + ")" +
                               (fault.error == 0
                                    ? ""
                                    : std::string(" LCA__System_diagnostic_s(") + std::strerror(fault.error) + ")"),
                           thrown);
             });
    EXPECT_LE(6, failedReads);
}

TEST_F(FilesFault, Save) {
    const std::string newContent(3000, 'n');
    const int faults =
        failEach(preparing(), noting([&] { UTF8File::save(path.c_str(), newContent); }), [&](const Fault& fault) {
            expectThrown(fault);
            if (fault.function == "fopen") {
                EXPECT_EQ(content, bytesOf(path));
            }
            if (fault.function.empty()) {
                EXPECT_EQ(newContent, bytesOf(path));
            }
        });
    EXPECT_EQ(2 * 4 + 2 * 5, faults);  // open, close; write
}

TEST_F(FilesFault, SafeSaveKeepsACompleteCopy) {
    const std::string newContent(3000, 'n');
    const std::string temporary = path + ".tmp";
    const int faults = failEach(
        [&] {
            prepare();
            std::remove(temporary.c_str());
        },
        noting([&] { UTF8File::safe_save(path.c_str(), newContent); }),
        [&](const Fault& fault) {
            const bool ofTemporary = fault.function == "fopen" || fault.function == "fwrite" ||
                                     fault.function == "fclose" || fault.function == "renameat2";
            EXPECT_EQ(messageOf(fault, ofTemporary ? temporary : path), thrown);
            const std::string old = bytesOf(path), made = bytesOf(temporary);
            EXPECT_TRUE(old == content || old == newContent || made == newContent) << fault.function;
            if (fault.function.empty()) {
                EXPECT_EQ(newContent, old);
                EXPECT_EQ("(none)", made);
            } else if (fault.function == "renameat2") {
                EXPECT_EQ("(none)", old);
                EXPECT_EQ(newContent, made);
            } else {
                EXPECT_EQ(content, old);
                if (fault.function == "unlink" || fault.function == "lstat") {
                    EXPECT_EQ(newContent, made);
                }
            }
        });
    EXPECT_EQ(5 * 4 + 2 * 5, faults);  // open, close, look, removal, rename; write
}

// A rename by links, where the system has no rename that refuses a target.
TEST_F(FilesFault, RenameByLinkLeavesOneName) {
    const faults::AllFail noRename({"renameat2"}, EINVAL);
    prepare();
    UTF8File file(path, true);
    const std::string target = folder.file("target");
    EXPECT_TRUE(file.rename(target.c_str()));
    EXPECT_EQ(content, bytesOf(target));
    EXPECT_EQ("(none)", bytesOf(path));
    EXPECT_EQ(target, std::string(file.name.data));

    prepare();
    UTF8File second(path, false);
    EXPECT_FALSE(second.rename(target.c_str())) << "the target is there";
    EXPECT_EQ(path, std::string(second.name.data));
    std::remove(target.c_str());
    {
        const faults::AllFail noUnlink({"unlink"}, EINVAL);
        EXPECT_FALSE(second.rename(target.c_str()));
    }
    EXPECT_EQ(content, bytesOf(path));
    std::remove(target.c_str());  // nothing could be removed, not even the second name
    // When only the old name cannot be removed, the new one goes.
    bool renamed = true;
    constexpr int unlinkOfTheOldName = 2;  // behind a look and the link
    const Fault fault = faults::failNth(unlinkOfTheOldName, EACCES, [&] { renamed = second.rename(target.c_str()); });
    EXPECT_EQ("unlink", fault.function);
    EXPECT_FALSE(renamed);
    EXPECT_EQ(content, bytesOf(path));
    EXPECT_EQ("(none)", bytesOf(target));
    // Without links either, the target is looked for first.
    folder.write("target", "in the way");
    {
        const faults::AllFail noLink({"link"}, EINVAL);
        EXPECT_FALSE(second.rename(target.c_str()));
        EXPECT_EQ("in the way", bytesOf(target));
        std::remove(target.c_str());
        EXPECT_TRUE(second.rename(target.c_str()));
    }
    EXPECT_EQ(content, bytesOf(target));
    // A folder cannot be linked.
    UTF8File made(folder.file("folder"), true);
    made.mkdir();
    EXPECT_TRUE(made.rename(folder.file("other folder").c_str()));
    UTF8File missing(folder.file("missing"), false);
    EXPECT_FALSE(missing.rename(path.c_str()));
}

// ---- open files ----

// Runs an operation of an open file, which is opened and closed without faults.
class Opened {
public:
    Opened(const std::string& path, UTF8File::Mode mode, bool throwing) : file(path, throwing) {
        EXPECT_TRUE(file.open(mode));
    }
    UTF8File file;
};

TEST_F(FilesFault, RecordsAndCopies) {
    Bag record("a record", 8);
    for (bool throwing : {false, true}) {
        SCOPED_TRACE(throwing);
        std::unique_ptr<Opened> opened, other;
        bool result = false;
        auto openFor = [&](UTF8File::Mode mode) {
            return [&, mode] {
                opened.reset();
                other.reset();
                prepare();
                opened = std::make_unique<Opened>(path, mode, throwing);
                other = std::make_unique<Opened>(folder.write("other", "old"), UTF8File::WRITE, throwing);
            };
        };
        auto expectOutcome = [&](const Fault& fault, const std::string& where) {
            EXPECT_EQ(throwing ? messageOf(fault, where) : "(nothing)", thrown);
            if (!throwing) {
                EXPECT_EQ(fault.function.empty(), result);
            }
            EXPECT_TRUE(opened->file.isOpened());
        };
        failEach(openFor(UTF8File::WRITE), noting([&] { result = opened->file.push(record); }),
                 [&](const Fault& fault) { expectOutcome(fault, path); });
        Bag target;
        failEach(
            [&] {
                openFor(UTF8File::READ)();
                opened.reset();
                UTF8File(path, true).save(path.c_str(), std::string("\x04\0\0\0abcd", 8));
                opened = std::make_unique<Opened>(path, UTF8File::READ, throwing);
                target = Bag("old", 3);
            },
            noting([&] { result = opened->file.pop(target); }),
            [&](const Fault& fault) {
                expectOutcome(fault, path);
                EXPECT_EQ(fault.function.empty() ? "abcd" : "old", ChPair(target).std());
            });
        failEach(openFor(UTF8File::READ), noting([&] { result = opened->file.copy(other->file, 5000); }),
                 [&](const Fault& fault) {
                     expectOutcome(fault, fault.function == "fwrite" ? std::string(other->file.name.data) : path);
                 });
        failEach(openFor(UTF8File::READ), noting([&] { result = opened->file.size() == 5003; }),
                 [&](const Fault& fault) {
                     if (fault.function != "ftello") expectOutcome(fault, path);
                 });
        opened.reset();
        other.reset();
    }
}

TEST_F(FilesFault, PathOperations) {
    UTF8File file(path, false);
    bool result = false;
    failEach(
        preparing(), [&] { result = file.remove(); },
        [&](const Fault& fault) { EXPECT_EQ(fault.function.empty(), result); });
    const std::string made = folder.file("made");
    UTF8File directory(made, false);
    failEach([&] { ::rmdir(made.c_str()); }, [&] { result = directory.mkdir(); },
             [&](const Fault& fault) { EXPECT_EQ(fault.function.empty(), result); });
    failEach([&] { directory.mkdir(); }, [&] { result = directory.rmdir(); },
             [&](const Fault& fault) { EXPECT_EQ(fault.function.empty(), result); });
    UTF8File::Info info;
    failEach(
        preparing(), [&] { result = UTF8File::info(path.c_str(), info, false); },
        [&](const Fault& fault) { EXPECT_EQ(fault.function.empty(), result); });
    failEach(
        preparing(), [&] { result = UTF8File::exist(path.c_str()); },
        [&](const Fault& fault) { EXPECT_EQ(fault.function.empty(), result); });
}

// ---- what stands on files ----

// The lines that are there, from a place on, up to the first failure.
std::string linesFrom(LogCharStream& log, std::int64_t place) {
    std::string read;
    if (!log.setStreamPosition(place)) return read;
    char line[16];
    int length = 0;
    std::int64_t next = 0;
    while (log.readLineStream(line, sizeof line, length, next)) read.append(line, static_cast<std::size_t>(length));
    return read;
}

// Whatever fails on the way, what is read is what is in the file at that place.
TEST_F(FilesFault, LogIsQuietAndCanBeReadOn) {
    const std::string lines = "one\ntwo\nthree\n";
    std::unique_ptr<LogCharStream> log;
    struct {
        std::int64_t from;
        std::string read;
    } walks[] = {{0, ""}, {4, ""}, {0, ""}, {1, ""}, {100, ""}, {8, ""}, {0, ""}};
    std::string first;
    bool opened = false;
    failEach(
        [&] {
            log.reset();
            folder.write("file", lines);
            for (auto& walk : walks) walk.read.clear();
            first.clear();
            log = std::make_unique<LogCharStream>();
        },
        [&] {
            opened = log->open(path.c_str(), 4, UTF8File::READ);
            if (!opened) return;
            log->getStreamSize();
            for (auto& walk : walks) walk.read = linesFrom(*log, walk.from);
            log->readFirstLine(first);
            log->close();
        },
        [&](const Fault& fault) {
            EXPECT_EQ(fault.function != "fopen", opened);
            for (const auto& walk : walks) {
                SCOPED_TRACE(walk.from);
                const std::string there = lines.substr(std::min(static_cast<std::size_t>(walk.from), lines.size()));
                EXPECT_EQ(there.substr(0, walk.read.size()), walk.read);
                if (fault.function.empty()) {
                    EXPECT_EQ(there, walk.read);
                }
            }
            EXPECT_TRUE(first == "one" || (!fault.function.empty() && first.empty())) << first;
            EXPECT_FALSE(log->isOpened());
        });
}

TEST_F(FilesFault, DestructorsThrowNothing) {
    prepare();
    const faults::AllFail fail({"fclose"}, EIO);
    {
        LogCharStream log;
        log.throwing = true;
        ASSERT_TRUE(log.open(path.c_str(), 16, UTF8File::READ));
    }
    {
        UTF8File file(path, true);
        ASSERT_TRUE(file.open(UTF8File::READ));
    }
    MLDocOut::FileWriter sink(path.c_str());
}

TEST_F(FilesFault, DocumentIsLoadedOrTold) {
    const faults::AllFail noSize({"fstat"}, EIO);
    const std::string text = "<a><b/></a>";
    std::unique_ptr<MLDoc> doc;
    failEach(
        [&] {
            folder.write("file", text);
            doc = std::make_unique<MLDoc>();
        },
        noting([&] { doc->load(path.c_str()); }),
        [&](const Fault& fault) {
            expectThrown(fault);
            EXPECT_EQ(fault.function.empty(), doc->buffer != nullptr);
        });
}

TEST_F(FilesFault, WrittenDocumentIsWholeOrTold) {
    failEach(preparing(), noting([&] {
                 MLDocOut::FileWriter sink(path.c_str());
                 MLDocOut out(MLDocBase::JSON);
                 out.begin(sink);
                 out.beginItem("a");
                 out.writeIntAttr("b", 1);
                 out.endItem("a");
                 out.end();
             }),
             [&](const Fault& fault) {
                 if (fault.function == "fflush") {
                     EXPECT_EQ("LCA__Could_not_flush_file LCA__Path_s(" + path + ")", thrown);
                 } else {
                     expectThrown(fault);
                 }
                 const bool whole = bytesOf(path) == "{\r\n  \"a\": {\r\n    \"b\": 1\r\n  }\r\n}\r\n";
                 EXPECT_TRUE(whole || !fault.function.empty());
             });
}

TEST_F(FilesFault, DictionaryKeepsItsTextsOrGetsNewOnes) {
    const std::string lng = bytesOf(VELMORA_TEST_LANG_DIR "/velmora.eng.lng");
    ASSERT_NE("(none)", lng);
    folder.write("velmora.eng.lng", lng);
    support::loadTexts();
    const std::string before = TTT::get(VELMORA_DICT, 0);
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    bool result = false;
    std::string error;
    const int faults =
        failEach([&] { error.clear(); }, [&] { result = loader.load((folder.path() + "/").c_str(), "eng", &error); },
                 [&](const Fault& fault) {
                     // The file is read to its end by then, so a close that fails is no matter.
                     const bool harmless = fault.function.empty() || fault.function == "fclose";
                     EXPECT_EQ(harmless, result) << fault.function;
                     EXPECT_EQ(harmless, error.empty()) << error;
                     EXPECT_EQ(before, TTT::get(VELMORA_DICT, 0));
                 });
    EXPECT_LE(20, faults);
}

// Seven words of the header, the table and the block of texts, however many texts there are.
TEST_F(FilesFault, DictionaryIsReadByNineCalls) {
    UTF8File file(VELMORA_TEST_LANG_DIR "/velmora.eng.lng", true);
    file.open(UTF8File::READ);
    Loc::VelmoraModule module;
    IDLocLoader byNumber;
    {
        faults::CallCounter calls;
        ASSERT_EQ(IDLocLoader::NoError, byNumber.load(file.file, *module.localization));
        EXPECT_EQ(9, calls.of("fread"));
    }
    file.seek(0, SEEK_SET);
    std::vector<const char*> variables(VELMORA_KEY_COUNT);
    std::vector<const char**> targets;
    for (const char*& variable : variables) targets.push_back(&variable);
    CCLocLoader byVariable;
    CCLocLoader::Localization table = {VELMORA_KEY_COUNT, 8, module.localization->version, targets.data()};
    {
        faults::CallCounter calls;
        ASSERT_EQ(CCLocLoader::NoError, byVariable.load(file.file, table));
        EXPECT_EQ(9, calls.of("fread"));
    }
}

// ---- killed ----

std::string generation(unsigned number) {
    std::string text = std::to_string(number) + ':';
    text.resize(60000, static_cast<char>('a' + number % 26));
    return text + "end";
}

bool isComplete(const std::string& text) {
    return !text.empty() && text == generation(static_cast<unsigned>(std::strtoul(text.c_str(), nullptr, 10)));
}

TEST_F(FilesFault, ProcessKilledInSafeSaveLeavesACompleteCopy) {
#ifdef VELMORA_TEST_ASAN
    constexpr int kKills = 100;  // a process of this size takes long to fork
#else
    constexpr int kKills = 1000;
#endif
    std::mt19937 random(7);
    UTF8File::save(path.c_str(), generation(0));
    int between = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        const pid_t child = fork();
        ASSERT_LE(0, child);
        if (child == 0) {
            for (unsigned i = 1;; ++i) UTF8File::safe_save(path.c_str(), generation(i));
        }
        usleep(static_cast<useconds_t>(200 + random() % 1500));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        const std::string file = bytesOf(path);
        const std::string temporary = bytesOf(path + ".tmp");
        ASSERT_TRUE(isComplete(file) || (file == "(none)" && isComplete(temporary))) << "kill " << kill;
        if (file == "(none)") {
            // What an application does at its next start.
            ++between;
            ASSERT_EQ(0, std::rename((path + ".tmp").c_str(), path.c_str()));
        }
    }
    RecordProperty("between", between);
}

}  // namespace
