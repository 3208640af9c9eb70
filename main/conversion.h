// A whole conversion, from files to a file: what the program does once it knows its settings.
#pragma once

class BaUnlockedMapping;
class BtStr;
struct Settings;

// Hears of a conversion while it runs. As it stands it talks as the program does: steps on standard
// output, records on standard error.
class ConversionListener {
 public:
  virtual ~ConversionListener() = default;

  // A step begins. False, with what is wrong told already, ends the conversion.
  virtual bool onStep(const BtStr& line);
  // Errors or warnings are recorded, which are to be told and forgotten. An error ends the
  // conversion.
  virtual void onRecords();
  // A mapping that does not turn each of its bodies about each axis once is an assertion failure
  // from here on. False, with what is wrong told already, ends the conversion.
  virtual bool onMapping(const BaUnlockedMapping& /*mapping*/) { return true; }
};

// Runs the steps of a conversion in their order, from files to file. False after an error, an older
// file being as it was then.
bool Convert(const Settings& settings, ConversionListener* listener);
