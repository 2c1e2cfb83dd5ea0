#include "HtmlReport.h"

#include "MeshSurvey.h"
#include "ReportScripts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace qarn {

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;

namespace {

/// Probe positions drawn as dots at most.
constexpr std::uint64_t maxDrawnProbes = 2500;

// Binary arrays travel as base64 of little-endian 32-bit values, read by typed arrays.
void appendUint32(std::string& out, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<char>((value >> shift) & 0xFF));
}

void appendFloat(std::string& out, float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  appendUint32(out, bits);
}

std::string escapeHtml(std::string const& text) {
  std::string escaped;
  for (char c : text) {
    switch (c) {
    case '&':
      escaped += "&amp;";
      break;
    case '<':
      escaped += "&lt;";
      break;
    case '>':
      escaped += "&gt;";
      break;
    case '"':
      escaped += "&quot;";
      break;
    case '\'':
      escaped += "&#39;";
      break;
    default:
      escaped += c;
    }
  }
  return escaped;
}

/// A JSON string literal that is also safe inside a script element (no "<" at all).
std::string jsonString(std::string const& text) {
  std::string json = "\"";
  for (char c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (byte < 0x20 || c == '<' || c == '>' || c == '&') {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x", byte);
      json += code;
    } else {
      json += c;
    }
  }
  return json + '"';
}

std::string jsonNumber(double value) {
  if (!std::isfinite(value))
    return "null";
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.9g", value);
  return buffer;
}

std::string format(char const* pattern, double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, pattern, value);
  return buffer;
}

std::string jsonColour(Rgb colour) {
  return "[" + std::to_string(colour.r) + "," + std::to_string(colour.g) + "," +
         std::to_string(colour.b) + "]";
}

/// 0, stride, 2·stride, ... and always count itself: the grid lines drawn of count + 1.
std::vector<std::uint32_t> drawnLines(std::uint32_t count, std::uint32_t stride) {
  std::vector<std::uint32_t> lines;
  for (std::uint64_t line = 0; line < count; line += stride)
    lines.push_back(static_cast<std::uint32_t>(line));
  lines.push_back(count);
  return lines;
}

/// One mesh as the viewer draws it: its grid points on the drawn lines (NaN where invalid),
/// the drawn quads whose four corners are valid (each as the index of its lowest corner), and
/// per drawn quad the nearest hit on this mesh among the quads it covers (NaN for none).
std::string drawnMeshJson(ScanPart::Member const& member, std::uint32_t memberIndex,
                          ScanResult const& result, std::uint32_t stride, Rgb colour,
                          std::uint64_t& drawnQuads) {
  G3::QuadMesh::RectMesh const& mesh = *member.mesh;
  auto const extents = mesh.getExtents();
  std::vector<std::uint32_t> const us = drawnLines(extents.getdU(), stride);
  std::vector<std::uint32_t> const vs = drawnLines(extents.getdV(), stride);
  float const nan = std::numeric_limits<float>::quiet_NaN();

  std::string points;
  std::vector<bool> valid;
  for (std::uint32_t v : vs) {
    for (std::uint32_t u : us) {
      G2::Point<int> const p(static_cast<int>(u), static_cast<int>(v));
      valid.push_back(mesh.getIsPointValid(p));
      G3::Point const point = valid.back() ? mesh.getPoint(p) : G3::Point(nan, nan, nan);
      appendFloat(points, point.getX());
      appendFloat(points, point.getY());
      appendFloat(points, point.getZ());
    }
  }

  G2::Vector<int> const offset = mesh.getOffset();
  std::int64_t const gridWidth = result.grid.getd().getdU();
  std::int64_t const gridHeight = result.grid.getd().getdV();
  // The scan-grid cell of the mesh's own quad (u, v), or -1 outside the grid.
  auto const cellOf = [&](std::uint32_t u, std::uint32_t v) -> std::int64_t {
    std::int64_t const su = member.doFlipU ? std::int64_t{extents.getdU()} - 1 - u : u;
    std::int64_t const sv = member.doFlipV ? std::int64_t{extents.getdV()} - 1 - v : v;
    std::int64_t const cu = su + offset.getdU() - result.grid.getp().getU();
    std::int64_t const cv = sv + offset.getdV() - result.grid.getp().getV();
    return cu < 0 || cv < 0 || cu >= gridWidth || cv >= gridHeight ? -1 : cv * gridWidth + cu;
  };

  std::string quads;
  std::string distances;
  std::string angles;
  std::size_t const nu = us.size();
  for (std::size_t b = 0; b + 1 < vs.size(); ++b) {
    for (std::size_t a = 0; a + 1 < nu; ++a) {
      std::size_t const corner = b * nu + a;
      if (!valid[corner] || !valid[corner + 1] || !valid[corner + nu] || !valid[corner + nu + 1])
        continue;
      std::int64_t best = -1;
      for (std::uint32_t v = vs[b]; v < vs[b + 1]; ++v) {
        for (std::uint32_t u = us[a]; u < us[a + 1]; ++u) {
          std::int64_t const cell = cellOf(u, v);
          if (cell < 0 || result.cellMesh[static_cast<std::size_t>(cell)] != memberIndex)
            continue;
          if (best < 0 || result.cellDistance[static_cast<std::size_t>(cell)] <
                              result.cellDistance[static_cast<std::size_t>(best)])
            best = cell;
        }
      }
      appendUint32(quads, static_cast<std::uint32_t>(corner));
      appendFloat(distances, best < 0 ? nan : result.cellDistance[static_cast<std::size_t>(best)]);
      appendFloat(angles, best < 0 ? nan : result.cellAngle[static_cast<std::size_t>(best)]);
      ++drawnQuads;
    }
  }
  return "{\"name\":" + jsonString(mesh.getShortFileName()) + ",\"colour\":" + jsonColour(colour) +
         ",\"nu\":" + std::to_string(nu) + ",\"nv\":" + std::to_string(vs.size()) +
         ",\"points\":\"" + encodeBase64(points) + "\",\"quads\":\"" + encodeBase64(quads) +
         "\",\"distance\":\"" + encodeBase64(distances) + "\",\"angle\":\"" + encodeBase64(angles) +
         "\"}";
}

/// Every stride-th probe position in both directions, flagged 1 where it hit.
std::string rasterJson(ScanResult const& result) {
  ProbeRaster const& raster = result.raster;
  auto const stride = static_cast<std::uint32_t>(
      std::max(1.0, std::ceil(std::sqrt(static_cast<double>(raster.getSize()) / maxDrawnProbes))));
  std::vector<bool> hit(raster.getSize(), false);
  for (ScanHit const& h : result.hits)
    hit[std::size_t{h.j} * raster.countX + h.i] = true;
  std::string flags;
  for (std::uint64_t j = 0; j < raster.countY; j += stride)
    for (std::uint64_t i = 0; i < raster.countX; i += stride)
      flags.push_back(hit[j * raster.countX + i] ? 1 : 0);
  return "{\"x0\":" + jsonNumber(raster.x0) + ",\"y0\":" + jsonNumber(raster.y0) +
         ",\"z\":" + jsonNumber(raster.z) + ",\"step\":" + jsonNumber(raster.step) +
         ",\"countX\":" + std::to_string(raster.countX) +
         ",\"countY\":" + std::to_string(raster.countY) + ",\"stride\":" + std::to_string(stride) +
         ",\"hits\":\"" + encodeBase64(flags) + "\"}";
}

std::string beamsJson(ScanResult const& result) {
  std::string json = "[";
  for (SampleBeam const& beam : result.sampleBeams) {
    if (json.size() > 1)
      json += ",";
    json += "[" + jsonNumber(beam.origin.getX()) + "," + jsonNumber(beam.origin.getY()) + "," +
            jsonNumber(beam.origin.getZ()) + "," + jsonNumber(beam.direction.getdX()) + "," +
            jsonNumber(beam.direction.getdY()) + "," + jsonNumber(beam.direction.getdZ()) + "," +
            jsonNumber(beam.distance) + "]";
  }
  return json + "]";
}

char const* modeName(std::uint32_t mode) {
  switch (mode) {
  case 0:
    return "facing then nearest";
  case 1:
    return "nearest";
  case 2:
    return "best angle";
  default:
    return "unknown";
  }
}

std::string row(std::string const& label, std::string const& value) {
  return "<tr><th>" + escapeHtml(label) + "</th><td>" + escapeHtml(value) + "</td></tr>\n";
}

std::string range(ValueRange const& values, char const* unit) {
  if (values.getIsEmpty())
    return "none";
  return format("%.4g", values.min) + " to " + format("%.4g", values.max) + " " + unit;
}

std::string summaryTables(ScanPart const& part, ScanResult const& result, ColourMap const& map,
                          ReportContext const& context, std::uint32_t stride,
                          std::uint64_t drawnQuads) {
  std::size_t const meshCount = part.getMembers().size();
  std::vector<std::uint64_t> quadsHit(meshCount, 0);
  ValueRange distances;
  ValueRange angles;
  std::uint64_t cellsHit = 0;
  for (std::size_t cell = 0; cell < result.cellMesh.size(); ++cell) {
    if (result.cellMesh[cell] >= meshCount)
      continue;
    ++quadsHit[result.cellMesh[cell]];
    ++cellsHit;
    distances.add(result.cellDistance[cell]);
    angles.add(result.cellAngle[cell]);
  }

  std::string html = "<table class=\"meshes\">\n<tr><th>#</th><th>mesh</th><th>file</th>"
                     "<th>quads</th><th>valid quads</th><th>offset</th><th>flips</th>"
                     "<th>mean quad area</th><th>quads hit</th></tr>\n";
  std::uint64_t validQuads = 0;
  for (std::size_t i = 0; i < meshCount; ++i) {
    ScanPart::Member const& member = part.getMembers()[i];
    auto const extents = member.mesh->getExtents();
    auto const offset = member.mesh->getOffset();
    MeshSurvey const survey(*member.mesh);
    validQuads += survey.validQuadCount;
    std::string flips = member.doFlipU ? "u" : "";
    flips += member.doFlipV ? (flips.empty() ? "v" : ", v") : "";
    Rgb const colour = getMeshColour(i, meshCount, map);
    char swatch[96];
    std::snprintf(swatch, sizeof swatch,
                  "<span class=\"swatch\" style=\"background:rgb(%d,%d,%d)\"></span>", colour.r,
                  colour.g, colour.b);
    html += "<tr><td>" + std::to_string(i + 1) + "</td><td>" + swatch +
            escapeHtml(member.mesh->getShortFileName()) + "</td><td class=\"file\">" +
            escapeHtml(member.fileName) + "</td><td>" + std::to_string(extents.getdU()) +
            " &times; " + std::to_string(extents.getdV()) + "</td><td>" +
            std::to_string(survey.validQuadCount) + "</td><td>" + std::to_string(offset.getdU()) +
            ", " + std::to_string(offset.getdV()) + "</td><td>" + (flips.empty() ? "none" : flips) +
            "</td><td>" + escapeHtml(format("%.4g", member.mesh->getMeanQuadArea())) +
            " mm&sup2;</td><td>" + std::to_string(quadsHit[i]) + "</td></tr>\n";
  }
  html += "</table>\n<table class=\"facts\">\n";

  auto const& grid = result.grid;
  double const pitch = getCellPitch(part);
  ProbeRaster const& raster = result.raster;
  std::uint64_t const cells = std::uint64_t(grid.getd().getdU()) * grid.getd().getdV();
  html += row("scan grid", std::to_string(grid.getd().getdU()) + " \u00d7 " +
                               std::to_string(grid.getd().getdV()) + " cells from (" +
                               std::to_string(grid.getp().getU()) + ", " +
                               std::to_string(grid.getp().getV()) + ")");
  html += row("cell size", pitch > 0.0
                               ? format("%.4g mm", pitch) + " (square root of the mean quad area)"
                               : std::string("unknown: the meshes store no quad areas"));
  html += row("probe positions",
              std::to_string(raster.countX) + " \u00d7 " + std::to_string(raster.countY) + " = " +
                  std::to_string(raster.getSize()) + ", step " + format("%g mm", raster.step) +
                  ", on the plane z = " + format("%g mm", raster.z));
  html +=
      row("beam", context.settings.beam == Beam::Normal ? "along the surface normal under the probe"
                                                        : "vertical");
  auto const mode = static_cast<std::uint32_t>(context.settings.mode);
  html += row("quality mode", std::to_string(mode) + " (" + modeName(mode) + ")");
  html += row("hits", std::to_string(result.hits.size()));
  html += row("misses", std::to_string(result.misses));
  html += row("quads hit", std::to_string(cellsHit) + " of " + std::to_string(cells) +
                               " scan-grid cells (" + std::to_string(validQuads) +
                               " valid quads in the meshes)");
  html += row("distance", range(distances, "mm"));
  html += row("angle", range(angles, "degrees"));
  html += row("colour map", map.getName());
  html +=
      row("3-D view",
          stride == 1 ? "every quad drawn (" + std::to_string(drawnQuads) + ")"
                      : "one grid line in " + std::to_string(stride) +
                            " drawn, to keep this file small: " + std::to_string(drawnQuads) +
                            " quads, each coloured by the nearest hit among the quads it covers");
  for (auto const& timing : context.timings)
    html += row(timing.first, format("%.3f s", timing.second));
  double const rate =
      result.seconds > 0.0 ? static_cast<double>(result.queries) / result.seconds : 0.0;
  html +=
      row("queries", std::to_string(result.queries) + ", " + format("%.0f", rate) + " per second");
  return html + "</table>\n";
}

std::string figure(std::string const& png, char const* file, char const* caption) {
  return "<figure><img src=\"data:image/png;base64," + encodeBase64(png) + "\" alt=\"" + caption +
         "\"><figcaption>" + caption + " (<code>" + file + "</code>)</figcaption></figure>\n";
}

constexpr char const* style = R"css(
body { font-family: "DejaVu Sans", sans-serif; margin: 0; color: #1b1d21; background: #ffffff; }
header, section, footer { margin: 0 24px; }
h1 { font-size: 22px; margin: 18px 0 4px; }
h2 { font-size: 18px; margin: 24px 0 8px; }
p.lead { margin: 0 0 12px; color: #4a4f58; }
#viewer { width: 100%; height: 66vh; min-height: 420px; background: #f4f5f7; border: 1px solid #c9ccd2; }
#viewer p { padding: 24px; }
#panel { padding: 6px 0; font-size: 13px; }
#panel label { margin-right: 10px; }
#legend { margin-left: 14px; }
#legend div { display: inline-block; margin-right: 14px; }
#legend .bar { display: inline-block; width: 160px; height: 12px; vertical-align: middle; border: 1px solid #555; }
.swatch { display: inline-block; width: 12px; height: 12px; border: 1px solid #555; margin-right: 6px; vertical-align: middle; }
p.hint { font-size: 12px; color: #4a4f58; margin: 4px 0 0; }
table { border-collapse: collapse; font-size: 14px; margin-bottom: 12px; }
th, td { border: 1px solid #d5d8dd; padding: 4px 8px; text-align: left; vertical-align: top; white-space: nowrap; }
td.file { white-space: normal; word-break: break-all; }
table.facts th { background: #eceef2; font-weight: normal; color: #4a4f58; }
table.meshes th { background: #eceef2; }
figure { margin: 0 0 18px; }
figure img { max-width: 100%; border: 1px solid #d5d8dd; }
figcaption { font-size: 13px; color: #4a4f58; }
footer { font-size: 12px; color: #6b7079; margin-top: 24px; margin-bottom: 24px; }
)css";

} // namespace

std::string encodeBase64(std::string const& bytes) {
  static char const alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    std::uint32_t const triple = (std::uint32_t{static_cast<unsigned char>(bytes[i])} << 16) |
                                 (std::uint32_t{static_cast<unsigned char>(bytes[i + 1])} << 8) |
                                 std::uint32_t{static_cast<unsigned char>(bytes[i + 2])};
    for (int shift = 18; shift >= 0; shift -= 6)
      out.push_back(alphabet[(triple >> shift) & 0x3F]);
  }
  std::size_t const rest = bytes.size() - i;
  if (rest > 0) {
    std::uint32_t triple = std::uint32_t{static_cast<unsigned char>(bytes[i])} << 16;
    if (rest == 2)
      triple |= std::uint32_t{static_cast<unsigned char>(bytes[i + 1])} << 8;
    out.push_back(alphabet[(triple >> 18) & 0x3F]);
    out.push_back(alphabet[(triple >> 12) & 0x3F]);
    out.push_back(rest == 2 ? alphabet[(triple >> 6) & 0x3F] : '=');
    out.push_back('=');
  }
  return out;
}

std::string makeHtmlReport(ScanPart const& part, ScanResult const& result,
                           CScanPictures const& pictures, ColourMap const& map,
                           ReportContext const& context) {
  std::uint64_t points = 0;
  for (ScanPart::Member const& member : part.getMembers()) {
    auto const extents = member.mesh->getExtents();
    points += (std::uint64_t{extents.getdU()} + 1) * (std::uint64_t{extents.getdV()} + 1);
  }
  auto const stride = static_cast<std::uint32_t>(
      std::max(1.0, std::ceil(std::sqrt(static_cast<double>(points) / maxDrawnPoints))));

  std::size_t const meshCount = part.getMembers().size();
  std::uint64_t drawnQuads = 0;
  std::string meshes;
  for (std::size_t i = 0; i < meshCount; ++i)
    meshes += (i == 0 ? "" : ",") + drawnMeshJson(part.getMembers()[i],
                                                  static_cast<std::uint32_t>(i), result, stride,
                                                  getMeshColour(i, meshCount, map), drawnQuads);

  ColourScale const distanceScale = getDistanceScale(result, map);
  ColourScale const angleScale = getAngleScale(map);
  std::string table;
  for (std::size_t i = 0; i < 256; ++i) {
    Rgb const entry = map.getEntry(i);
    table += (i == 0 ? "" : ",") + std::to_string(entry.r) + "," + std::to_string(entry.g) + "," +
             std::to_string(entry.b);
  }
  G3::BoundingBoxAA const box = part.getBoundingBox();
  std::string const data =
      "{\"colourMap\":{\"name\":" + jsonString(map.getName()) + ",\"table\":[" + table +
      "],\"miss\":" + jsonColour(map.getMissColour()) + "},\"scales\":{\"distance\":[" +
      jsonNumber(distanceScale.low) + "," + jsonNumber(distanceScale.high) + "],\"angle\":[" +
      jsonNumber(angleScale.low) + "," + jsonNumber(angleScale.high) + "]},\"meshes\":[" + meshes +
      "],\"raster\":" + rasterJson(result) + ",\"beams\":" + beamsJson(result) + ",\"box\":[" +
      jsonNumber(box.getp().getX()) + "," + jsonNumber(box.getp().getY()) + "," +
      jsonNumber(box.getp().getZ()) + "," + jsonNumber(box.getp().getX() + box.getd().getdX()) +
      "," + jsonNumber(box.getp().getY() + box.getd().getdY()) + "," +
      jsonNumber(box.getp().getZ() + box.getd().getdZ()) + "]}";

  // The title names the first few meshes.
  std::string names;
  for (std::size_t i = 0; i < meshCount && i < 4; ++i)
    names += (i == 0 ? "" : ", ") + part.getMembers()[i].mesh->getShortFileName();
  if (meshCount > 4)
    names += " and " + std::to_string(meshCount - 4) + " more";
  std::string const title = "C-scan report: " + names;

  std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                     "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                     "<title>" +
                     escapeHtml(title) + "</title>\n<style>" + style +
                     "</style>\n</head>\n<body>\n<header>\n<h1>" + escapeHtml(title) +
                     "</h1>\n<p class=\"lead\">Written by <code>" + escapeHtml(context.command) +
                     "</code>: the part's quad meshes with the C-scan on them, the probe raster "
                     "and a few beams.</p>\n</header>\n";
  html +=
      "<section id=\"view\">\n<div id=\"panel\">Colour by "
      "<label><input type=\"radio\" name=\"colour\" value=\"distance\" checked> distance</label>"
      "<label><input type=\"radio\" name=\"colour\" value=\"angle\"> angle</label>"
      "<label><input type=\"radio\" name=\"colour\" value=\"mesh\"> mesh</label>"
      "<label><input type=\"checkbox\" id=\"shading\" checked> shading</label>"
      "<span id=\"legend\"></span></div>\n<div id=\"viewer\"></div>\n<p class=\"hint\">Drag "
      "to turn the part, right-drag or shift-drag to move it, scroll to zoom. Probe positions: "
      "dark dots hit, red dots missed; sample beams run from the probe plane to their hits "
      "(red: missed).</p>\n</section>\n";
  html += "<section>\n<h2>Summary</h2>\n" +
          summaryTables(part, result, map, context, stride, drawnQuads) + "</section>\n";
  html += "<section>\n<h2>C-scan pictures</h2>\n" +
          figure(pictures.distance, "cscan.png", "distance along the beam") +
          figure(pictures.angle, "angle.png", "angle between beam and surface normal") +
          figure(pictures.mesh, "mesh.png", "mesh hit") + "</section>\n";
  html += "<footer>The 3-D view uses three.js r111 (MIT licence, &copy; 2010-2019 three.js "
          "authors), included in this file.</footer>\n";
  html += "<script>" + std::string(threeJsSource) + "</script>\n<script>" + orbitControlsSource +
          "</script>\n<script type=\"application/json\" id=\"scan-data\">" + data +
          "</script>\n<script>" + reportViewerSource + "</script>\n</body>\n</html>\n";
  return html;
}

} // namespace qarn
