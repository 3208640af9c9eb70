#include "outputfile.h"

#include "Bt/btexcept.h"
#include "bttextfile.h"
#include "sourcefiles.h"

bool WriteWholeFile(const std::string& file, const SourceFiles& sources,
                    const std::function<void(std::ostream&)>& print) {
  if (!sources.checkOutput(file.c_str())) return false;
  BtOutputFile output{BtStr(file.c_str())};
  if (output.isOpen()) {
    print(output.stream());
    if (BtError()) return false;  // gives the file up
    if (output.close()) return true;
  }
  return BtFail("Unable to write '%s'.", file.c_str());
}
