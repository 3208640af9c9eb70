// Compressed files through programs that work, fail, hang or are not there.
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <random>

#include "Bt/btcompfstream.h"
#include "Bt/messages.h"
#include "Bt/workingfolder.h"
#include "bttextfile.h"

namespace {

namespace fs = std::filesystem;

std::string RandomText(std::size_t size) {
  std::mt19937 random(7);
  std::string text(size, ' ');
  for (char& c : text) c = static_cast<char>('a' + random() % 20);
  return text;
}

std::vector<std::string> PipesOf(pid_t pid) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator("/var/tmp")) {
    const std::string name = entry.path().filename();
    if (name.starts_with("comp") && name.ends_with("." + std::to_string(pid))) {
      names.push_back(name);
    }
  }
  return names;
}

// What a failing program in place of `gunzip` or `gzip` leads to.
struct Failure {
  std::string name;
  std::string script;       // empty for the program itself
  std::string errors;       // what the recorded errors begin with
  std::string reason = "";  // what else they hold
};

// Whatever a test does, it must leave no pipe and no child.
class BtCompStream : public WorkingFolder {
 protected:
  BtCompStream() { fs::create_directory("folder.gz"); }
  ~BtCompStream() override {
    EXPECT_EQ(TakeMessages(), "");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    EXPECT_EQ(PipesOf(getpid()), _pipes_before);
    theExceptObj.setCancelHook(nullptr);
    setenv("PATH", _old_path.c_str(), 1);
  }
  // Puts a shell script in front of the programs of this name; empty for none.
  void setProgram(const char* name, const std::string& script) const {
    setenv("PATH", _old_path.c_str(), 1);
    if (script.empty()) return;
    const std::string program = _folder.write(std::string("bin/") + name, "#!/bin/sh\n" + script);
    fs::permissions(program, fs::perms(0755));
    setenv("PATH", (_folder.path("bin:") + _old_path).c_str(), 1);
  }

  // What a killed process of the same number once left is not this one's.
  const std::vector<std::string> _pipes_before = PipesOf(getpid());

  template <class Use>
  void expectFailures(const char* program, const std::vector<Failure>& cases, Use use) const {
    for (const Failure& row : cases) {
      SCOPED_TRACE(row.name + row.script);
      setProgram(program, row.script);
      EXPECT_FALSE(use(row.name));
      const std::string errors = TakeMessages();
      EXPECT_TRUE(errors.starts_with(row.errors)) << errors;
      EXPECT_NE(errors.find(row.reason), std::string::npos) << errors;
    }
  }

  const std::string _old_path = std::getenv("PATH");
};

// Answers whether all of it worked.
bool Save(const std::string& name, const std::string& text) {
  BtCompOFStream os(name.c_str());
  os << text.substr(0, text.size() / 3) << std::flush << text.substr(text.size() / 3);
  return os.isOpen() && os.close();
}

// The text of a file, if all of it could be read.
std::optional<std::string> Load(const std::string& name) {
  BtCompIFStream is(name.c_str());
  if (!is.isOpen()) return {};
  const std::string text(std::istreambuf_iterator<char>(is), {});
  return is.close() ? std::optional(text) : std::nullopt;
}

TEST_F(BtCompStream, WritesAndReadsFilesOfAnyName) {
  const char* const names[] = {
      "plain.gz",           "two words.gz", "quote's.gz",   "a\"b $HOME `touch owned`.gz",
      "; touch owned; .gz", "-rf.gz",       "new\nline.gz", "back\\slash\\.gz",
      "*?[a].gz",           "plain.Z",      "-c.Z",         "folder.gz/../\xC3\xBC & .Z"};
  for (const std::string name : names) {
    for (const std::size_t size : {0U, 1U, name.starts_with("plain") ? 3000000U : 100U}) {
      const std::string text = RandomText(size);
      ASSERT_TRUE(Save(name, text)) << name << TakeMessages();
      EXPECT_TRUE(ReadFile(name).starts_with(name.ends_with("Z") ? "\x1F\x9D" : "\x1F\x8B"));
      EXPECT_TRUE(Load(name) == text) << name << ", " << size << TakeMessages();
    }
  }
  EXPECT_FALSE(fs::exists("owned"));
}

TEST_F(BtCompStream, WorksWithInheritedSignalSettings) {
  std::signal(SIGCHLD, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  EXPECT_TRUE(Save("a.gz", "text"));
  EXPECT_EQ(Load("a.gz"), "text");
  const std::string first = ReadFile("a.gz");
  EXPECT_TRUE(Save("a.gz", "text") && ReadFile("a.gz") == first) << "the same bytes every time";
  expectFailures("gunzip", {{"a.gz", "exit 4", ""}}, Load);
  std::signal(SIGCHLD, SIG_DFL);
  std::signal(SIGPIPE, SIG_DFL);
}

TEST_F(BtCompStream, TellsWhyAFileCannotBeRead) {
  ASSERT_TRUE(Save("whole.gz", RandomText(200000)));
  const std::string whole = ReadFile("whole.gz");
  const std::pair<const char*, std::string> files[] = {
      {"cut.gz", whole.substr(0, 1000)}, {"longer.gz", whole + "junk"}, {"empty.gz", ""},
      {"plain.gz", "plain text\n"},      {"plain.Z", "plain text\n"},   {"a.bz2", ""}};
  for (const auto& [name, text] : files) _folder.write(name, text);
  const std::string failed = "Unable to decompress file.\nThe command 'gunzip' ";
  const std::string exit_1 = failed + "ended with exit status 1.";
  expectFailures("gunzip",
                 {{"none.gz", "", "File does not exist."},
                  {"a.bz2", "", "Unknown compression extension 'bz2'."},
                  {"folder.gz/none", "", "Unknown compression extension ''."},
                  {"a.jpeg", "",
                   "Cannot find command 'djpeg' to uncompress\n'a.jpeg'.\n"
                   "This command needs to be in your path."},
                  {"cut.gz", "", exit_1, "unexpected end of file"},
                  {"longer.gz", "", failed + "ended with exit status 2.", "trailing garbage"},
                  {"plain.gz", "", exit_1, "not in gzip format"},
                  {"empty.gz", "", exit_1, "unexpected end of file"},
                  {"plain.Z", "",
                   "Unable to decompress file.\nThe command 'uncompress' ended with exit status"},
                  {"whole.gz", "exit 3", failed + "ended with exit status 3."},
                  {"whole.gz", "echo text; echo reason >&2; exit 3",
                   failed + "ended with exit status 3.\nreason"},
                  {"whole.gz", "echo text; kill -9 $$", failed + "was ended by signal 9."},
                  {"whole.gz", "exec >&-; sleep 0.2; kill $$", failed + "was ended by signal 15."},
                  {"whole.gz", "kill -9 $PPID; exit 1", failed + "did not end as it should."}},
                 Load);
}

TEST_F(BtCompStream, ChecksWhatARightReadingLeftUnread) {
  ASSERT_TRUE(Save("whole.gz", RandomText(2000000)));
  const std::string whole = ReadFile("whole.gz");
  _folder.write("cut.gz", whole.substr(0, whole.size() - 4));
  for (const bool earlier_error : {false, true}) {
    for (const char* const name : {"whole.gz", "cut.gz"}) {
      BtInputFile file(name);
      ASSERT_TRUE(file.isOpen());
      file.stream().get();
      if (earlier_error) theExceptObj.set("earlier");
      // What follows the place where the reading failed does not matter.
      EXPECT_EQ(file.close(), earlier_error || name[0] == 'w');
      EXPECT_EQ(TakeMessages() == "earlier", earlier_error);
    }
  }
}

TEST_F(BtCompStream, TellsWhyAFileCannotBeWritten) {
  fs::create_symlink("/dev/full", "full.gz");
  fs::create_symlink("loop.gz", "loop.gz");
  const std::string failed = "Unable to compress file.\nThe command 'gzip' ";
  for (const std::size_t size : {1000U, 1000000U}) {  // below and above what a pipe holds
    expectFailures(
        "gzip",
        {{"folder.gz", "", "File \"folder.gz\" is unwritable."},
         {"loop.gz", "", "Couldn't create loop.gz\nToo many levels of symbolic links"},
         {"a.bz2", "", "Unknown compression extension 'bz2'."},
         {"a.jpeg", "",
          "Cannot find command 'cjpeg' to compress\n'a.jpeg'.\n"
          "This command needs to be in your path."},
         {"full.gz", "", failed + "ended with exit status 1.\n"},
         {"a.gz", "exit 0", failed + "ended with exit status 0."},  // without reading anything
         {"a.gz", "head -c 10; exit 0", failed + "ended with exit status 0."},
         {"a.gz", "cat; exit 2", failed + "ended with exit status 2."},
         {"a.gz", "kill -9 $$", failed + "was ended by signal 9."}},
        [size](const std::string& name) { return Save(name, RandomText(size)); });
  }
}

bool CloseWithoutRoom(BtOutputFile* file) {
  const rlimit small = {1000, RLIM_INFINITY};
  const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &small);
  file->stream() << RandomText(500000);
  const bool closed = file->close();
  setrlimit(RLIMIT_FSIZE, &none);
  return closed;
}

bool CloseBroken(BtOutputFile* file) {
  file->stream().setstate(std::ios::badbit);
  return file->close();
}

TEST_F(BtCompStream, SavesNothingButWholeTexts) {
  using Close = bool (*)(BtOutputFile*);
  constexpr Close kClose = [](BtOutputFile* file) { return file->close(); };
  const struct {
    const char* trouble;
    std::string program;  // what gzip is instead
    Close close;
    std::string only = "";  // the end of the names that meet this trouble
  } cases[] = {{"not closed", "", [](BtOutputFile*) { return false; }},
               {"a reason of the caller's own", "", CloseBroken},
               {"no room", "", CloseWithoutRoom, ".mdl"},
               {"a failing program", "cat; exit 2", kClose, "gz"},
               {"none", "", kClose}};
  fs::create_directory("links");
  for (const std::string name : {"a.mdl", "a.mdl.gz", "a.mdl.Z"}) {
    const std::string target = "sub/" + name;
    const std::string link = "links/" + name;
    fs::create_symlink("../" + target, link);
    for (const auto& row : cases) {
      if (!name.ends_with(row.only)) continue;
      SCOPED_TRACE(name + ", " + row.trouble);
      _folder.write(target, "older");
      fs::permissions(target, fs::perms(0640));
      setProgram("gzip", row.program);
      const bool whole = row.trouble == std::string("none");
      {
        BtOutputFile file(link.c_str());
        ASSERT_TRUE(file.isOpen()) << TakeMessages();
        file.stream() << "newer" << std::flush;
        EXPECT_EQ(row.close(&file), whole) << TakeMessages();
      }
      TakeMessages();
      EXPECT_EQ(ReadFile(target) == "older", !whole);
      EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
      EXPECT_EQ(std::distance(fs::directory_iterator("sub"), {}), 1);
      fs::remove(target);
    }
  }
}

// Says yes when it has been asked a few times.
int questions = 0;
bool AskedOften() { return ++questions > 3; }

TEST_F(BtCompStream, WaitsForNobodyForEver) {
  ASSERT_TRUE(Save("a.gz", "text"));
  const auto start = std::chrono::steady_clock::now();
  for (const char* const program :
       {"yes", "echo text; sleep 1000", "trap '' TERM; echo; sleep 1000",
        "echo text; exec >&-; sleep 1000"}) {
    setProgram("gunzip", program);
    {
      BtCompIFStream dropped("a.gz");
      EXPECT_GT(dropped.get(), 0);
    }
    questions = 0;
    theExceptObj.setCancelHook(AskedOften);
    EXPECT_FALSE(Load("a.gz")) << program;
    EXPECT_EQ(TakeMessages(), "Canceled.");
    theExceptObj.setCancelHook(nullptr);
  }
  setProgram("gzip", "sleep 1000");
  // The program is still starting, or reads nothing.
  for (const int asked : {3, 3, 3, 3, 3, 0}) {
    questions = asked;
    theExceptObj.setCancelHook(AskedOften);
    EXPECT_FALSE(Save("b.gz", RandomText(1000000)));
    EXPECT_EQ(TakeMessages(), "Unable to compress file.\nCanceled.");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

// A process, the keeper below it, the shell below that, the program: what there is of them.
std::vector<pid_t> ChainFrom(pid_t process) {
  std::vector<pid_t> chain = {process};
  for (;;) {
    std::string path = "/proc/" + std::to_string(chain.back()) + "/task/";
    path += std::to_string(chain.back()) + "/children";
    const std::string children = ReadFile(path);
    if (children.empty()) return chain;
    chain.push_back(std::stoi(children));
  }
}

// One of the four is killed, at all times of the first milliseconds.
TEST_F(BtCompStream, LeavesNothingWhicheverProcessIsKilled) {
  ASSERT_TRUE(Save("a.gz", RandomText(300000)));
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  alarm(60);  // ends a wait for a process that is left
  std::size_t reached = 0;
  for (std::size_t victim = 0; victim < 4; ++victim) {
    for (useconds_t time = 0; time < 10000; time += 250) {
      const pid_t child = fork();
      if (child == 0) {
        Load("a.gz");
        Save("b.gz", "text");
        _exit(0);
      }
      usleep(time);
      const std::vector<pid_t> chain = ChainFrom(child);
      if (victim < chain.size()) {
        kill(chain[victim], SIGKILL);
        reached = std::max(reached, victim);
      }
      // Processes that have lost their parents are ours to collect.
      while (waitpid(-1, nullptr, 0) > 0) {
      }
      ASSERT_EQ(PipesOf(child), std::vector<std::string>()) << victim << ", " << time;
      for (const auto& entry : fs::directory_iterator(_folder.path())) {
        ASSERT_NE(entry.path().extension(), ".tmp") << victim << ", " << time;
      }
    }
  }
  alarm(0);
  EXPECT_EQ(reached, 3U);
  prctl(PR_SET_CHILD_SUBREAPER, 0);
}

// A program that has lost its keeper is about to open the pipe, which makes a file where there is
// none any more. This one has a session of its own, in which nobody ends it.
TEST_F(BtCompStream, RemovesThePipeWhenNobodyOpensItAnyMore) {
  ASSERT_TRUE(Save("a.gz", "text"));
  setProgram("gunzip", R"(export pipe=$(readlink /proc/$$/fd/1)
read -r pid name state keeper rest < /proc/$PPID/stat
export keeper
exec setsid sh -c 'kill -9 $keeper; sleep 0.3; : >> $pipe')");
  EXPECT_FALSE(Load("a.gz"));
  EXPECT_NE(TakeMessages(), "");
  usleep(500000);
}

TEST_F(BtCompStream, TellsThatThereCanBeNoPipe) {
  constexpr int kTaken = 2000;
  const auto name = [](int i) {
    return "/var/tmp/compifstream" + std::to_string(i) + "." + std::to_string(getpid());
  };
  for (int i = 1; i <= kTaken; ++i) std::ofstream taken(name(i));
  const BtCompIFStream is("a.gz");
  EXPECT_FALSE(is.isOpen());
  const std::string errors = TakeMessages();
  EXPECT_TRUE(errors.starts_with("Unable to create named pipe \"/var/tmp/compifstream")) << errors;
  EXPECT_TRUE(errors.ends_with("\".\nFile exists")) << errors;
  for (int i = 1; i <= kTaken; ++i) fs::remove(name(i));
}

TEST_F(BtCompStream, IsChosenByTheNameOfATextFile) {
  const std::pair<const char*, const char*> cases[] = {
      {"a.mdl", "a.mdl"},   {"a.mdl.gz", "a.mdl"}, {"b.gz/a.Z", "b.gz/a"},
      {"b.gz/a", "b.gz/a"}, {"a.jpeg", "a.jpeg"},  {"a.GZ", "a.GZ"}};
  fs::create_directory("b.gz");
  for (const auto& [name, text_name] : cases) {
    EXPECT_EQ(BtTextFileName(name), text_name);
    BtOutputFile output(name);
    output.stream() << "text";
    EXPECT_TRUE(output.close());
    EXPECT_EQ(ReadFile(name) == "text", BtTextFileName(name) == name) << name;
    BtInputFile input(name);
    std::string word;
    EXPECT_TRUE(input.stream() >> word && input.close());
    EXPECT_EQ(word, "text");
  }
  for (const char* ending_alone : {".gz", "b.gz/.Z"}) {
    EXPECT_EQ(BtTextFileName(ending_alone), ending_alone);
  }
  EXPECT_FALSE(BtInputFile("none").isOpen());
}

}  // namespace
