#include "Bt/btcompfstream.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Bt/btifstream.h"
#include "btcompprogram.h"
#include "btshelljob.h"

namespace {

using Event = Bt_ShellJob::Event;

constexpr const char* kUnpackFailed = "Unable to decompress file.";

}  // namespace

// The reading end of the pipe and the program that writes into it.
class BtCompIFStream::Buf : public BtFileBuf {
 public:
  Buf(std::ios& owner, const char* program, Bt_ShellJob* job)
      : BtFileBuf(owner), _program(program), _job(*job) {}

  // Opens the reading end without waiting for a writer, so that the program does not have to wait
  // either and a program that dies first keeps nobody waiting. False, with an error recorded, when
  // that or the start of the shell fails.
  bool start(const char* pipe, const BtStr& command) {
    const int fd = ::open(pipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return BtFail("%s", std::strerror(errno));
    adopt(fd);
    return _job.start(command);
  }
  // Waits until the name of the pipe is not needed any more.
  void awaitProgram() {
    const Event event = _job.waitFor(descriptor(), POLLIN);
    if (event == Event::Over) _job.finish();
    if (event == Event::Canceled) _job.end();
  }

  void drain() {
    while (!traits_type::eq_int_type(underflow(), traits_type::eof())) {
      setg(eback(), egptr(), egptr());
    }
  }

  // Ends the program; false, with an error recorded, when it is known to have failed.
  bool finish() {
    close();  // a program that still writes ends by that
    if (_state == State::Canceled) theExceptObj.set("Canceled.");
    if (_state == State::Failed) {
      _job.recordFailure(_program);
      theExceptObj.set(kUnpackFailed);
    }
    _job.end();
    return !isStopped() && (_state == State::Reading || _state == State::Whole);
  }

 protected:
  long long readBlock(char* to, std::size_t size) override {
    while (_state == State::Reading) {
      const Event event = _job.waitFor(descriptor(), POLLIN);
      if (event == Event::Canceled) {
        _state = State::Canceled;
        break;
      }
      const ssize_t count = ::read(descriptor(), to, size);
      if (count > 0) return count;
      if (count < 0 && (errno == EINTR || (errno == EAGAIN && event == Event::Ready))) continue;
      _state = _endState(count == 0);
    }
    return _state == State::Whole ? 0 : -1;
  }

 private:
  enum class State { Reading, Whole, Failed, Canceled };

  State _endState(bool end_of_file) {
    const Event event = _job.finish();
    if (event == Event::Canceled) return State::Canceled;
    const bool whole = event == Event::Over && end_of_file && _job.status() == 0;
    return whole ? State::Whole : State::Failed;
  }

  const char* _program;
  Bt_ShellJob& _job;
  State _state = State::Reading;
};

BtCompIFStream::BtCompIFStream(const char* name)
    : std::istream(nullptr), _job(std::make_unique<Bt_ShellJob>()) {
  BtAssert(name != nullptr, "name!=0");
  if (!_job->startKeeper()) {
    theExceptObj.set("%s", std::strerror(errno));
    theExceptObj.set(kUnpackFailed);
  } else if (_createNamedPipe()) {
    if (_spawnUncompress(name, Bt_CompExtension(name))) {
      _buf->awaitProgram();
    } else {
      _buf.reset();
      _job->end();
    }
    // Once both ends are open, or no program can create it anew, nobody needs the name.
    _removeNamedPipe();
  }
  rdbuf(_buf.get());  // sets badbit where there is none
  if (!isOpen()) setstate(std::ios::failbit);
}

BtCompIFStream::~BtCompIFStream() = default;

bool BtCompIFStream::close() {
  if (!isOpen()) return true;
  if (!BtError()) _buf->drain();
  const bool whole = _buf->finish();
  rdbuf(nullptr);
  _buf.reset();
  return whole;
}

bool BtCompIFStream::_createNamedPipe() {
  BtAssert(_named_pipe.isNull(), "_named_pipe==0");
  return Bt_CreateNamedPipe("%s/compifstream%d.%d", *_job, &_named_pipe);
}

bool BtCompIFStream::_spawnUncompress(const char* name, const char* ext) {
  BtAssert(name != nullptr, "name!=0");
  BtAssert(!_named_pipe.isNull(), "_named_pipe!=0");
  const Bt_CompProgram* const program = Bt_FindCompProgram(ext);
  if (program == nullptr) return false;
  if (BtFileFindCommand(program->uncompress).isNull()) {
    return BtFail(
        "Cannot find command '%s' to uncompress\n'%s'.\nThis command needs to be in your path.",
        program->uncompress, name);
  }
  if (!BtFileHaveReadAccess(name)) return false;
  const BtStr file = Bt_ShellWord(name);
  const BtStr pipe = Bt_ShellWord(_named_pipe);
  const BtStr command = BtFormat(program->uncompress_command, static_cast<const char*>(file),
                                 static_cast<const char*>(pipe));
  _buf = std::make_unique<Buf>(*this, program->uncompress, _job.get());
  if (_buf->start(_named_pipe, command)) return true;
  return BtFail(kUnpackFailed);
}

void BtCompIFStream::_removeNamedPipe() {
  BtAssert(!_named_pipe.isNull(), "_named_pipe!=0");
  std::remove(_named_pipe);
  _named_pipe = BtStr();
}
