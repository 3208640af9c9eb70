#include "Bt/btcompfstream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <streambuf>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "btcompprogram.h"
#include "btreplacement.h"
#include "btshelljob.h"

namespace {

using Event = Bt_ShellJob::Event;

constexpr const char* kPackFailed = "Unable to compress file.";
constexpr std::size_t kPipeBlockSize = std::size_t{64} * 1024;
// How often, and how many milliseconds apart, the pipe is tried until the program has opened it.
constexpr int kMaxTries = 30000;
constexpr int kTryMs = 2;

}  // namespace

// The writing end of the pipe and the program that reads from it.
class BtCompOFStream::Buf : public std::streambuf {
 public:
  Buf(const Bt_CompProgram& program, Bt_ShellJob* job)
      : _program(program),
        _job(*job),
        _block(std::make_unique_for_overwrite<char[]>(kPipeBlockSize)) {
    setp(_block.get(), _block.get() + kPipeBlockSize);
  }
  ~Buf() override { _closeFiles(); }
  Buf(const Buf&) = delete;
  Buf& operator=(const Buf&) = delete;

  // Starts the program and opens the pipe when the program has; false, with an error recorded, when
  // that fails.
  bool start(const char* pipe, const BtStr& command) {
    if (!_job.start(command)) return false;
    for (int i = 0; i < kMaxTries; ++i) {
      _fd = ::open(pipe, O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
      if (_fd >= 0) return _holdOpen(pipe);
      if (errno != ENXIO && errno != EINTR) return _failErrno();
      const Event event = _job.waitFor(-1, 0, kTryMs);
      if (event == Event::Late) continue;
      _canceled = event == Event::Canceled;
      if (event == Event::Over) _job.finish();
      break;
    }
    _record();
    return false;
  }

  // Ends the text and waits for the program; false, with an error recorded, on failure.
  bool finish() {
    bool whole = sync() == 0;
    ::close(_fd);
    _fd = -1;
    if (!_canceled) {
      const Event event = _job.finish();
      _canceled = event == Event::Canceled;
      whole = whole && event == Event::Over && !_isUnread() &&
              (_job.status() == 0 || _job.status() == _program.not_smaller);
    }
    if (!whole) {
      _record();
      theExceptObj.set(kPackFailed);
    }
    _closeFiles();
    return whole;
  }

 protected:
  int_type overflow(int_type c) override {
    if (sync() != 0) return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
  }

  int sync() override {
    const char* from = pbase();
    while (!_failed && from != pptr()) {
      const ssize_t count = ::write(_fd, from, static_cast<std::size_t>(pptr() - from));
      if (count >= 0) {
        from += count;
      } else {
        _failed = !_mayTryAgain();
      }
    }
    // A stream that has failed takes nothing more.
    setp(_block.get(), _block.get() + (_failed ? 0 : kPipeBlockSize));
    return _failed ? -1 : 0;
  }

 private:
  // While a reading end is open here, writing to a program that has died is no signal. That it has
  // died shows when the pipe is full, or at the latest when the stream is closed.
  bool _holdOpen(const char* pipe) {
    _reading_end = ::open(pipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
    return _reading_end >= 0 || _failErrno();
  }

  bool _mayTryAgain() {
    if (errno == EINTR) return true;
    if (errno != EAGAIN) return false;
    const Event event = _job.waitFor(_fd, POLLOUT);
    _canceled = event == Event::Canceled;
    return event == Event::Ready;
  }

  // True when the program has left something of the text in the pipe.
  [[nodiscard]] bool _isUnread() const {
    int count = 0;
    return ioctl(_reading_end, FIONREAD, &count) != 0 || count > 0;
  }

  void _record() const {
    if (_canceled) {
      theExceptObj.set("Canceled.");
    } else {
      _job.recordFailure(_program.compress);
    }
  }

  static bool _failErrno() { return BtFail("%s", std::strerror(errno)); }

  void _closeFiles() {
    for (int* const fd : {&_fd, &_reading_end}) {
      if (*fd >= 0) ::close(*fd);
      *fd = -1;
    }
  }

  const Bt_CompProgram& _program;
  Bt_ShellJob& _job;
  std::unique_ptr<char[]> _block;
  int _fd = -1;
  int _reading_end = -1;
  bool _failed = false;
  bool _canceled = false;
};

BtCompOFStream::BtCompOFStream(const char* name)
    : std::ostream(nullptr),
      _job(std::make_unique<Bt_ShellJob>()),
      _replacement(std::make_unique<BtReplacement>()) {
  BtAssert(name != nullptr, "name!=0");
  if (!_job->startKeeper()) {
    theExceptObj.set("%s", std::strerror(errno));
    theExceptObj.set(kPackFailed);
  } else if (_createNamedPipe()) {
    if (!_spawnCompress(name, Bt_CompExtension(name))) {
      _buf.reset();
      _job->end();  // before the file that it may write is removed
      _replacement->discard();
    }
    _removeNamedPipe();  // once both ends are open nobody needs the name
  }
  rdbuf(_buf.get());  // sets badbit where there is none
  if (!isOpen()) setstate(std::ios::failbit);
}

BtCompOFStream::~BtCompOFStream() { close(); }

bool BtCompOFStream::close() {
  if (!isOpen()) return true;
  const bool given_up = !good();
  bool whole = _buf->finish() && !given_up;
  rdbuf(nullptr);
  _buf.reset();
  if (whole && _replacement->descriptor() >= 0 && !_replacement->commit()) {
    theExceptObj.set("%s", std::strerror(errno));
    theExceptObj.set(kPackFailed);
    whole = false;
  }
  _job->end();
  _replacement->discard();
  return whole;
}

bool BtCompOFStream::_createNamedPipe() {
  BtAssert(_named_pipe.isNull(), "_named_pipe==0");
  if (!Bt_CreateNamedPipe("%s/compofstream%d.%d", *_job, &_named_pipe)) return false;
  BtAssert(BtFileExists(_named_pipe), "BtFileExists(_named_pipe)");
  return true;
}

bool BtCompOFStream::_spawnCompress(const char* name, const char* ext) {
  BtAssert(name != nullptr, "name!=0");
  BtAssert(!_named_pipe.isNull(), "_named_pipe!=0");
  const Bt_CompProgram* const program = Bt_FindCompProgram(ext);
  if (program == nullptr) return false;
  if (BtFileFindCommand(program->compress).isNull()) {
    return BtFail(
        "Cannot find command '%s' to compress\n'%s'.\nThis command needs to be in your path.",
        program->compress, name);
  }
  if (!BtFileHaveWriteAccess(name)) return false;
  const BtReplacement::Place place = _replacement->open(name, _job.get());
  if (place == BtReplacement::Place::Failed) {
    theExceptObj.set("%s", std::strerror(errno));
    return BtFail("Couldn't create " + BtStr(name));
  }
  const BtStr pipe = Bt_ShellWord(_named_pipe);
  const BtStr file =
      Bt_ShellWord(place == BtReplacement::Place::Beside ? _replacement->path().c_str() : name);
  const BtStr command = BtFormat(program->compress_command, static_cast<const char*>(pipe),
                                 static_cast<const char*>(file));
  _buf = std::make_unique<Buf>(*program, _job.get());
  if (_buf->start(_named_pipe, command)) return true;
  return BtFail(kPackFailed);
}

void BtCompOFStream::_removeNamedPipe() {
  BtAssert(!_named_pipe.isNull(), "_named_pipe!=0");
  std::remove(_named_pipe);
  _named_pipe = BtStr();
}
