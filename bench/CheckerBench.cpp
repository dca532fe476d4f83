// A full check of a perforated plate (10 to about 1,600 faces) beside its floor in the same run: reading the STEP
// file with the reader's shape repair and one triangulation at the checker's deflection, in plain Open CASCADE.
// The goal: the check within 2 times the floor's time and peak memory, growing linearly with faces. Peak
// memory is measured per process, by run-checker-processes.sh.
// The plates are written by gmsh (tests/checker/make_parts.py) once, into the build folder.
#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <Bnd_Box.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <STEPControl_Reader.hxx>
#include <TopExp_Explorer.hxx>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "kvx/checker/Check.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

// The plate with `count` x `count` holes, written on first use.
std::string Plate(long count) {
  const fs::path path = fs::path(KVX_BENCH_DATA_DIR) / ("plate-holes-" + std::to_string(count) + ".step");
  if (fs::exists(path)) return path.string();
  fs::create_directories(path.parent_path());
  const fs::path partial = path.string() + ".partial.step";
  const std::string command = "/usr/bin/python3 " KVX_SOURCE_DIR "/tests/checker/make_parts.py holes " +
                              std::to_string(count) + " '" + partial.string() + "' >/dev/null";
  if (std::system(command.c_str()) != 0) return {};
  fs::rename(partial, path);
  return path.string();
}

// The floor: what any check must do before it can look at the part. Returns the number of triangles.
std::size_t ReadAndTriangulate(const std::string& path) {
  Message::DefaultMessenger()->ChangePrinters().Clear();
  Interface_Static::SetCVal("xstep.cascade.unit", "MM");
  STEPControl_Reader reader;
  if (reader.ReadFile(path.c_str()) != IFSelect_RetDone) return 0;
  reader.TransferRoots();
  const TopoDS_Shape shape = reader.OneShape();
  Bnd_Box bounds;
  BRepBndLib::Add(shape, bounds);
  IMeshTools_Parameters parameters;
  parameters.MeshAlgo = IMeshTools_MeshAlgoType_Delabella;
  parameters.Deflection = std::sqrt(bounds.SquareExtent()) * kvx::checker::kRelativeDeflection;
  parameters.Angle = kvx::checker::kMeshAngle;
  BRepMesh_IncrementalMesh mesher;
  mesher.SetShape(shape);
  mesher.ChangeParameters() = parameters;
  mesher.Perform();
  std::size_t faces = 0;
  for (TopExp_Explorer it(shape, TopAbs_FACE); it.More(); it.Next()) ++faces;
  return faces;
}

kvx::checker::Limit AtLeast(double value) {
  kvx::checker::Limit limit;
  limit.op = 7;
  limit.values = {value};
  return limit;
}

// The analyses every rule set needs: draft, holes, spacing, thickness and undercuts.
std::vector<kvx::checker::RuleInput> Rules() {
  std::vector<kvx::checker::RuleInput> rules;
  const std::pair<int, long> limits[] = {{12090, 3030}, {12150, 2347}, {12160, 2374}, {12080, 3060}, {12100, 3050}};
  for (const auto& [id, parameter] : limits) {
    kvx::checker::RuleInput rule;
    rule.id = id;
    rule.severity = 2;
    rule.limits[parameter] = AtLeast(1.0);
    rules.push_back(rule);
  }
  return rules;
}

std::size_t Check(const std::string& path) {
  const auto check = kvx::checker::CheckStepFile(path, Rules(), {kvx::checker::Vec3{0, 0, 1}, ""}, 600s);
  return check.read.ok ? check.read.part.faces.size() : 0;
}

void Run(benchmark::State& state, const std::function<std::size_t(const std::string&)>& work) {
  const std::string path = Plate(state.range(0));
  if (path.empty()) {
    state.SkipWithError("gmsh could not write the plate (Debian: python3-gmsh)");
    return;
  }
  std::size_t faces = 0;
  for (auto _ : state) benchmark::DoNotOptimize(faces = work(path));
  if (faces == 0) state.SkipWithError("the plate could not be read");
  state.counters["faces"] = static_cast<double>(faces);
}

void BM_Floor(benchmark::State& state) { Run(state, ReadAndTriangulate); }
void BM_Check(benchmark::State& state) { Run(state, Check); }

// 2 x 2 holes: 10 faces; 40 x 40: about 1,600.
BENCHMARK(BM_Floor)->Arg(2)->Arg(10)->Arg(20)->Arg(40)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Check)->Arg(2)->Arg(10)->Arg(20)->Arg(40)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

// `kvx_checker_bench floor|check N` runs one of them once on the plate with N x N holes, for whole-process
// time and peak memory (run-checker-processes.sh); without arguments, the benchmarks.
int main(int argc, char** argv) {
  if (argc == 3 && (std::string(argv[1]) == "floor" || std::string(argv[1]) == "check")) {
    const std::string path = Plate(std::atol(argv[2]));
    const std::size_t faces = std::string(argv[1]) == "floor" ? ReadAndTriangulate(path) : Check(path);
    std::printf("%zu faces\n", faces);
    return faces == 0 ? 1 : 0;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
