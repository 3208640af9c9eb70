// "animate": converts a model with its mapping and puts captured motion on it.
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsdkmanager.h"
#include "animation.h"
#include "arguments.h"
#include "bttextfile.h"
#include "cancel.h"
#include "messages.h"
#include "motionfiles.h"
#include "progress.h"
#include "save.h"
#include "scene.h"
#include "sourcefiles.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFirstMotion = 2;  // among the files, behind model and mapping

double BytesOf(const std::string& file) {
  std::error_code ignored;
  const auto size = fs::file_size(Text(BtTextFileName(file.c_str())), ignored);
  return ignored ? 0 : static_cast<double>(size);
}

// One run of the command. Each step tells what went wrong and answers false.
class Animation {
 public:
  explicit Animation(const Arguments& arguments)
      : _arguments(arguments),
        _model_file(arguments.files[0]),
        _dof_file(arguments.files[1]),
        _scale_factor(static_cast<float>(arguments.scale_factor)),
        _progress(_shares(arguments)) {}

  bool run() {
    return _checkArguments() && _readModel() && _readMapping() && _setUnits() && _buildScene() &&
           _addMotions() && _save();
  }

 private:
  using ManagerOwner = std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)>;

  static std::vector<double> _shares(const Arguments& arguments) {
    std::vector<double> shares;
    for (const std::string& file : arguments.files) shares.push_back(BytesOf(file));
    double all = 0;
    for (const double share : shares) all += share;
    shares.push_back(all);  // saving
    return shares;
  }

  bool _fail(const std::string& file, const std::string& text) {
    _progress.hide();
    Complain(file, text);
    return false;
  }

  // Tells what was recorded about a file; false where there is an error.
  bool _tell(const std::string& file) {
    if (!BtError()) theExceptObj.checkCancel();
    const std::vector<Message> messages = TakeMessages();
    if (!messages.empty()) _progress.hide();
    return TellMessages(file, messages);
  }

  bool _checkArguments() {
    if (!CheckPositive("--scale-factor", static_cast<double>(_scale_factor)) ||
        !CheckPositive("--rate", _arguments.rate, true)) {
      return false;
    }
    for (const std::string& file : _arguments.files) _sources.add(file.c_str());
    const BtStr version(_arguments.mb_version.c_str());
    _writer = FindMotionBuilderWriter(_owner.get(), version, false);
    return _writer.index >= 0 ||
           _fail("--mb-version", "unsupported version \"" + _arguments.mb_version + "\"");
  }

  bool _readModel() {
    _progress.begin(_model_file);
    BaModel model;
    model.read(_model_file.c_str());
    if (!_tell(_model_file)) return false;
    model.removeBones();
    model.removeUnusedMaterials(false);
    _model_data.fillFrom(model, true);
    _sources.add(model.sourceFiles());
    _sources.addPictures(_model_data, BtFileDirectory(_model_file.c_str()));
    return _tell(_model_file);
  }

  bool _readMapping() {
    _progress.begin(_dof_file);
    _mapping.read(_dof_file.c_str(), true);
    _sources.add(_mapping.sourceFiles());
    if (!_tell(_dof_file)) return false;
    for (const BaUnlockedBodyMap* map : _mapping.bodyMaps()) {
      const std::string letters = map->rotationLetters();
      if (letters.size() == 3 && std::set<char>(letters.begin(), letters.end()).size() == 3) {
        continue;
      }
      return _fail(_dof_file, "body " + std::to_string(map->bodyId()) +
                                  " does not turn about each axis once, but about " +
                                  (letters.empty() ? "nothing" : letters));
    }
    CheckMapping(_mapping, _model_data);
    return _tell(_dof_file);
  }

  bool _setUnits() {
    _units = UnitsOfVariables(_arguments, _model_data.lengthUnits());
    return (_units.length > 0 && std::isfinite(_units.length)) ||
           _fail(_model_file, "its unit of lengths cannot be converted");
  }

  bool _buildScene() {
    CreateScene(_owner.get(), _scene, _model_data, _model_file.c_str(), _mapping, _scale_factor,
                _arguments.mesh_per_body);
    if (!_tell(_model_file)) return false;
    AddUserProperties(_scene, _model_data, _mapping);
    return true;
  }

  bool _addMotions() {
    const BaMotion::Reading how = {BaExactFrameRate(_arguments.rate),
                                   BaHighestSysVarKnown(_mapping)};
    std::set<std::string> names;
    for (std::size_t i = kFirstMotion; i < _arguments.files.size(); ++i) {
      const std::string& file = _arguments.files[i];
      _progress.begin(file);
      BaMotion motion;
      motion.read(file.c_str(), how);
      if (!_tell(file)) return false;
      AddTake(_scene, _model_data, _mapping, motion, TakeName(file, &names).c_str(), _units,
              _scale_factor);
      if (!_tell(file)) return false;
    }
    if (!names.empty() && !_mapping.textureIndexMaps().empty()) _warnOfTextures();
    return true;
  }

  void _warnOfTextures() {
    std::set<int> variables;
    for (const auto& map : _mapping.textureIndexMaps()) variables.insert(map.sysvar_id);
    std::string list;
    for (const int id : variables) list += (list.empty() ? "" : ", ") + std::to_string(id);
    _progress.hide();
    Complain(
        _dof_file,
        "warning: variables that choose textures have no form in FBX and are left out: " + list);
  }

  bool _save() {
    _progress.begin(_arguments.output);
    if (!_sources.checkOutput(_arguments.output.c_str())) return _tell(_arguments.output);
    _model_data.clear();  // its memory is better used for saving
    SaveScene(_owner.get(), _scene, _arguments.output.c_str(), false, true, _writer.version);
    return _tell(_arguments.output);
  }

  static ManagerOwner _makeScene(KFbxScene** scene) {
    KFbxSdkManager* manager = nullptr;
    InitializeSdk(&manager, scene);
    return {manager, DestroySdk};
  }

  const Arguments& _arguments;
  const std::string& _model_file;
  const std::string& _dof_file;
  float _scale_factor;
  Progress _progress;
  SourceFiles _sources;
  KFbxScene* _scene = nullptr;
  ManagerOwner _owner = _makeScene(&_scene);
  WriterChoice _writer;
  BaModelData _model_data;
  BaUnlockedMapping _mapping;
  BaVariableUnits _units;
};

}  // namespace

int RunAnimate(const Arguments& arguments) {
  InstallCancel();
  return Animation(arguments).run() ? kExitGood : kExitTrouble;
}
