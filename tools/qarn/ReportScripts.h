#ifndef QARN_TOOLS_QARN_REPORTSCRIPTS_H
#define QARN_TOOLS_QARN_REPORTSCRIPTS_H

namespace qarn {

// The scripts the HTML report inlines, built into the tool (tools/EmbedScripts.cmake) so that
// the report needs nothing at run time: three.js r111 and its orbit controls from the
// libjs-three package, and the report's own viewer (tools/qarn/ReportViewer.js).
extern char const threeJsSource[];
extern char const orbitControlsSource[];
extern char const reportViewerSource[];

} // namespace qarn

#endif
