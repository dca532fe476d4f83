// Reading a STEP part with Open CASCADE: transfer with the reader's shape repair, one triangulation, and the
// surface facts (kind, axis, radius) of every face. Open CASCADE stays inside this file.
#include <BRepAdaptor_Surface.hxx>
#include <BRepBndLib.hxx>
#include <BRepLProp_SLProps.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GeomAdaptor_Surface.hxx>
#include <Geom_Surface.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Interface_Check.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_ProgressIndicator.hxx>
#include <OSD.hxx>
#include <OSD_Exception.hxx>
#include <Poly_Triangulation.hxx>
#include <STEPControl_Reader.hxx>
#include <ShapeCustom_Surface.hxx>
#include <Standard_ErrorHandler.hxx>
#include <Standard_Failure.hxx>
#include <StepData_StepModel.hxx>
#include <StepRepr_RepresentationItem.hxx>
#include <TColStd_SequenceOfAsciiString.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>

#include "kvx/checker/Part.h"

namespace kvx::checker {

namespace {
// Free-form faces this close to an analytic surface are taken as that surface (holes written as B-splines).
constexpr double kRecognitionTolerance = 1e-4;
constexpr std::string_view kStepMagic = "ISO-10303-21";

// The reader reports through Open CASCADE's messenger, which prints to standard output; our output must
// stay clean, so its printers are taken off while a part is read and put back afterwards.
class QuietMessenger {
 public:
  QuietMessenger() : saved_(Message::DefaultMessenger()->Printers()) { Message::DefaultMessenger()->ChangePrinters().Clear(); }
  ~QuietMessenger() { Message::DefaultMessenger()->ChangePrinters() = saved_; }
  QuietMessenger(const QuietMessenger&) = delete;
  QuietMessenger& operator=(const QuietMessenger&) = delete;

 private:
  Message_SequenceOfPrinters saved_;
};

// Open CASCADE follows the references of a damaged file without looking (a LINE whose direction is not a
// VECTOR is read as a null handle and then used). With its own signal handlers in place such a fault jumps
// back to the nearest OCC_CATCH_SIGNALS as a Standard_Failure instead of ending the process. The handlers
// are process-wide, so whatever was there before (a sanitizer's, a fuzzer's, the default) is put back once
// the part is read. Floating-point traps stay off: the geometry code relies on quiet infinities.
class FaultsAsFailures {
 public:
  FaultsAsFailures() {
    for (std::size_t i = 0; i < kTaken.size(); ++i) sigaction(kTaken[i], nullptr, &saved_[i]);
    OSD::SetSignal(OSD_SignalMode_Set, Standard_False);
    // Only faults are turned into failures: an interrupt still ends the program as the user expects.
    for (std::size_t i = kFaults; i < kTaken.size(); ++i) sigaction(kTaken[i], &saved_[i], nullptr);
  }
  ~FaultsAsFailures() {
    for (std::size_t i = 0; i < kTaken.size(); ++i) sigaction(kTaken[i], &saved_[i], nullptr);
  }
  FaultsAsFailures(const FaultsAsFailures&) = delete;
  FaultsAsFailures& operator=(const FaultsAsFailures&) = delete;

 private:
  // Every signal Open CASCADE takes over, the first kFaults of them the faults it turns into failures.
  static constexpr std::array kTaken{SIGSEGV, SIGBUS,  SIGFPE, SIGILL,  SIGHUP, SIGINT,
                                     SIGQUIT, SIGTERM, SIGSYS, SIGXCPU, SIGXFSZ};
  static constexpr std::size_t kFaults = 4;
  std::array<struct sigaction, kTaken.size()> saved_{};
};

// Lets the reader and the mesher stop when the budget runs out.
class DeadlineIndicator : public Message_ProgressIndicator {
 public:
  explicit DeadlineIndicator(const Budget& budget) : budget_(budget) {}
  Standard_Boolean UserBreak() override { return budget_.Expired(); }
  void Show(const Message_ProgressScope&, const Standard_Boolean) override {}

 private:
  const Budget& budget_;
};

Vec3 ToVec(const gp_XYZ& p) { return {p.X(), p.Y(), p.Z()}; }

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

void DescribeSurface(const Adaptor3d_Surface& surface, FaceInfo& info) {
  switch (surface.GetType()) {
    case GeomAbs_Plane:
      info.kind = SurfaceKind::Plane;
      info.origin = ToVec(surface.Plane().Location().XYZ());
      return;
    case GeomAbs_Cylinder: {
      const gp_Cylinder c = surface.Cylinder();
      info.kind = SurfaceKind::Cylinder;
      info.origin = ToVec(c.Location().XYZ());
      info.direction = ToVec(c.Axis().Direction().XYZ());
      info.radius = c.Radius();
      return;
    }
    case GeomAbs_Cone: {
      const gp_Cone c = surface.Cone();
      info.kind = SurfaceKind::Cone;
      info.origin = ToVec(c.Location().XYZ());
      info.direction = ToVec(c.Axis().Direction().XYZ());
      info.radius = c.RefRadius();
      info.semiAngle = c.SemiAngle();
      return;
    }
    case GeomAbs_Sphere:
      info.kind = SurfaceKind::Sphere;
      info.origin = ToVec(surface.Sphere().Location().XYZ());
      info.radius = surface.Sphere().Radius();
      return;
    case GeomAbs_Torus: {
      const gp_Torus t = surface.Torus();
      info.kind = SurfaceKind::Torus;
      info.origin = ToVec(t.Location().XYZ());
      info.direction = ToVec(t.Axis().Direction().XYZ());
      info.radius = t.MajorRadius();
      info.minorRadius = t.MinorRadius();
      return;
    }
    default:
      info.kind = SurfaceKind::Other;
  }
}

// A free-form face that is in fact a plane, cylinder, cone, sphere or torus is described as one.
void RecogniseFreeForm(const TopoDS_Face& face, FaceInfo& info) {
  Handle(Geom_Surface) surface = BRep_Tool::Surface(face);
  if (surface.IsNull()) return;
  ShapeCustom_Surface converter(surface);
  Handle(Geom_Surface) analytic = converter.ConvertToAnalytical(kRecognitionTolerance, Standard_False);
  if (analytic.IsNull()) return;
  DescribeSurface(GeomAdaptor_Surface(analytic), info);
  info.recognised = info.kind != SurfaceKind::Other;
}

// Appends the face's triangles and nodes (with exact outward normals) to the part's mesh.
bool AddFaceMesh(const TopoDS_Face& face, int index, Part& part) {
  TopLoc_Location location;
  const Handle(Poly_Triangulation) triangulation = BRep_Tool::Triangulation(face, location);
  FaceInfo& info = part.faces[index];
  info.firstNode = part.mesh.nodes.size();
  if (triangulation.IsNull()) return false;
  const gp_Trsf transform = location.Transformation();
  const bool reversed = face.Orientation() == TopAbs_REVERSED;
  BRepAdaptor_Surface surface(face);
  const auto offset = static_cast<std::uint32_t>(info.firstNode);
  for (int i = 1; i <= triangulation->NbNodes(); ++i) {
    const Vec3 p = ToVec(triangulation->Node(i).Transformed(transform).XYZ());
    part.mesh.nodes.push_back(p);
    info.box.Add(p);
    part.box.Add(p);
    Vec3 normal;
    if (triangulation->HasUVNodes()) {
      const gp_Pnt2d uv = triangulation->UVNode(i);
      BRepLProp_SLProps props(surface, uv.X(), uv.Y(), 1, 1e-9);
      if (props.IsNormalDefined()) normal = ToVec(props.Normal().XYZ()) * (reversed ? -1.0 : 1.0);
    }
    part.normals.push_back(normal);
  }
  info.nodeCount = part.mesh.nodes.size() - info.firstNode;
  const std::size_t firstTriangle = part.mesh.triangles.size();
  for (int i = 1; i <= triangulation->NbTriangles(); ++i) {
    int a = 0, b = 0, c = 0;
    triangulation->Triangle(i).Get(a, b, c);
    if (reversed) std::swap(b, c);
    part.mesh.triangles.push_back({offset + a - 1, offset + b - 1, offset + c - 1});
    part.mesh.faceOf.push_back(index);
  }
  // Each triangle is turned, where needed, to face the way the exact normals at its corners do, so that the
  // winding never depends on the mesher. Nodes where the surface has no normal (a cone's apex)
  // take the normal of the facets around them.
  for (std::size_t t = firstTriangle; t < part.mesh.triangles.size(); ++t) {
    auto& corners = part.mesh.triangles[t];
    const Vec3 exact = part.normals[corners[0]] + part.normals[corners[1]] + part.normals[corners[2]];
    if (Dot(part.mesh.AreaNormal(t), exact) < 0) std::swap(corners[1], corners[2]);
    info.area += part.mesh.Area(t);
    const Vec3 facet = Normalized(part.mesh.AreaNormal(t));
    for (std::uint32_t node : part.mesh.triangles[t]) {
      if (Length(part.normals[node]) < 0.5) part.normals[node] = facet;
    }
  }
  if (info.kind == SurfaceKind::Plane && info.nodeCount > 0) info.direction = Normalized(part.normals[info.firstNode]);
  return true;
}

void FindNeighbours(const TopoDS_Shape& shape, const TopTools_IndexedMapOfShape& faces, Part& part) {
  TopTools_IndexedDataMapOfShapeListOfShape edgeFaces;
  TopExp::MapShapesAndAncestors(shape, TopAbs_EDGE, TopAbs_FACE, edgeFaces);
  std::vector<std::set<int>> neighbours(part.faces.size());
  for (int e = 1; e <= edgeFaces.Extent(); ++e) {
    const TopoDS_Edge& edge = TopoDS::Edge(edgeFaces.FindKey(e));
    if (BRep_Tool::Degenerated(edge)) continue;
    std::set<int> around;
    for (const TopoDS_Shape& face : edgeFaces(e)) around.insert(faces.FindIndex(face) - 1);
    if (around.size() == 1) {
      if (!BRep_Tool::IsClosed(edge, TopoDS::Face(edgeFaces(e).First()))) ++part.openEdges;
      continue;
    }
    for (int a : around)
      for (int b : around)
        if (a != b && a >= 0 && b >= 0) neighbours[a].insert(b);
  }
  for (std::size_t i = 0; i < part.faces.size(); ++i)
    part.faces[i].neighbours.assign(neighbours[i].begin(), neighbours[i].end());
}

std::string FileLengthUnit(STEPControl_Reader& reader) {
  TColStd_SequenceOfAsciiString lengths, angles, solidAngles;
  reader.FileUnits(lengths, angles, solidAngles);
  return lengths.IsEmpty() ? std::string("millimetre") : Lower(lengths.First().ToCString());
}

ReadResult Failure(std::string error) {
  ReadResult result;
  result.error = std::move(error);
  return result;
}

// Geometry and topology the transfer would use without looking, refused before it runs when the file
// damaged them (a LINE whose direction is not a VECTOR, a VECTOR without a DIRECTION): a fault inside the
// transfer is caught too, but leaves the reader's memory behind and says less. Other damaged entities
// (names, product data) are left to the reader. Returns what is wrong, or nothing.
std::string DamagedShapeEntity(const Handle(StepData_StepModel)& model) {
  if (model.IsNull()) return {};
  for (int i = 1; i <= model->NbEntities(); ++i) {
    if (!model->Value(i)->IsKind(STANDARD_TYPE(StepRepr_RepresentationItem))) continue;
    const Handle(Interface_Check)& check = model->Check(i, Standard_True);
    if (check.IsNull() || !check->HasFailed()) continue;
    return "#" + std::to_string(model->IdentLabel(model->Value(i))) + " " + model->TypeName(model->Value(i)) + ": " +
           check->CFail(1);
  }
  return {};
}

// Transfers what the reader has loaded and builds the part from it.
ReadResult Build(STEPControl_Reader& reader, const std::string& name, const Budget& budget) {
  ReadResult result;
  Part& part = result.part;
  part.file = name;
  part.fileUnit = FileLengthUnit(reader);
  Handle(DeadlineIndicator) indicator = new DeadlineIndicator(budget);
  reader.TransferRoots(indicator->Start());
  if (budget.Expired()) return Failure("reading the part ran out of time");
  const TopoDS_Shape shape = reader.OneShape();
  if (shape.IsNull()) return Failure("the file holds no shape");

  for (TopExp_Explorer it(shape, TopAbs_SOLID); it.More(); it.Next()) ++part.solids;
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(shape, TopAbs_FACE, faces);
  if (faces.IsEmpty()) return Failure("the file holds no solid and no surface");
  if (part.solids == 0) part.warnings.push_back("the file holds no solid: its surfaces are checked as they are");
  if (part.solids > 1) part.warnings.push_back(std::to_string(part.solids) + " solids: checked together as one part");

  Bnd_Box bounds;
  BRepBndLib::Add(shape, bounds);
  if (bounds.IsVoid()) return Failure("the part has no extent");
  const double diagonal = std::sqrt(bounds.SquareExtent());
  part.deflection = std::max(diagonal * kRelativeDeflection, 1e-6);
  IMeshTools_Parameters parameters;
  parameters.MeshAlgo = IMeshTools_MeshAlgoType_Delabella;
  parameters.Deflection = part.deflection;
  parameters.Angle = kMeshAngle;
  parameters.InParallel = Standard_False;
  BRepMesh_IncrementalMesh mesher;
  mesher.SetShape(shape);
  mesher.ChangeParameters() = parameters;
  mesher.Perform(indicator->Start());
  if (budget.Expired()) return Failure("triangulating the part ran out of time");

  part.faces.resize(faces.Extent());
  int unmeshed = 0;
  for (int i = 1; i <= faces.Extent(); ++i) {
    const TopoDS_Face& face = TopoDS::Face(faces(i));
    FaceInfo& info = part.faces[i - 1];
    DescribeSurface(BRepAdaptor_Surface(face), info);
    if (info.kind == SurfaceKind::Other) RecogniseFreeForm(face, info);
    if (!AddFaceMesh(face, i - 1, part)) ++unmeshed;
  }
  if (unmeshed > 0) part.warnings.push_back(std::to_string(unmeshed) + " faces could not be triangulated and are not checked");
  if (part.mesh.triangles.empty()) return Failure("no face of the part could be triangulated");
  FindNeighbours(shape, faces, part);
  if (part.openEdges > 0)
    part.warnings.push_back("the shell is not closed (" + std::to_string(part.openEdges) +
                            " open edges): thickness and undercuts may be misread");
  result.ok = true;
  return result;
}

template <typename Load>
ReadResult Read(const std::string& name, const Budget& budget, Load load) {
  try {
    QuietMessenger quiet;
    FaultsAsFailures faults;
    OCC_CATCH_SIGNALS
    Interface_Static::SetCVal("xstep.cascade.unit", "MM");
    STEPControl_Reader reader;
    if (load(reader) != IFSelect_RetDone) return Failure("not a readable STEP file: " + name);
    if (reader.NbRootsForTransfer() == 0) return Failure("the file holds no shape");
    if (const std::string damaged = DamagedShapeEntity(reader.StepModel()); !damaged.empty())
      return Failure("the part cannot be read: " + damaged);
    return Build(reader, name, budget);
  } catch (const OSD_Exception& fault) {
    return Failure(std::string("the part cannot be read: its reader failed on it (") + fault.GetMessageString() + ")");
  } catch (const Standard_Failure& failure) {
    return Failure(std::string("the part cannot be read: ") + failure.GetMessageString());
  } catch (const std::exception& failure) {
    return Failure(std::string("the part cannot be read: ") + failure.what());
  }
}

bool LooksLikeStep(std::string_view head) {
  const auto start = head.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return start != std::string_view::npos && head.substr(start).starts_with(kStepMagic);
}
}  // namespace

ReadResult ReadStepFile(const std::string& path, const Budget& budget) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return Failure("cannot open " + path);
  std::string head(64, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(in.gcount()));
  if (head.empty()) return Failure("the file is empty: " + path);
  if (!LooksLikeStep(head)) return Failure("not a STEP file: " + path);
  return Read(path, budget, [&](STEPControl_Reader& reader) { return reader.ReadFile(path.c_str()); });
}

ReadResult ReadStepBytes(std::string_view bytes, const Budget& budget) {
  if (bytes.empty()) return Failure("the file is empty");
  if (!LooksLikeStep(bytes.substr(0, 64))) return Failure("not a STEP file");
  return Read("(memory)", budget, [&](STEPControl_Reader& reader) {
    std::istringstream stream{std::string(bytes)};
    return reader.ReadStream("part.step", stream);
  });
}

}  // namespace kvx::checker
