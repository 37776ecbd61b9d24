#include "host/WebHelp.h"

#include "runtime/Ports.h"

namespace orlinths {

const char* const kWebHelpBase = "https://www.orlinth.example/otools/";

namespace {

struct Page {
  const char* tag;
  const char* page;
};

constexpr Page kPages[] = {
    {"ADDAREA", "addarea.php"},
    {"ADDLENGTH", "addlength.php"},
    {"ADDXY", "addxy.php"},
    {"ADDXYLINEDATA", "addxylinedata.php"},
    {"BKDE", "bkde.php"},
    {"BUFFER", "buffer.php"},
    {"CLIPRASTER", "clprst.php"},
    {"CLIPRASTERBYPOLYS", "cliprasterbypolys.php"},
    {"CONDSAMP", "condsamp.php"},
    {"CREATEVECTORGRID", "createvectorgrid.php"},
    {"CRWRASTER", "crwraster.php"},
    {"CSVTOOLS", "csv.php"},
    {"DATASETLIST", "datasetlist.php"},
    {"DELETEFLDS", "delflds.php"},
    {"ENUMFEATURES", "enumfeatures.php"},
    {"EXTRACTRASTEREDGE", "extrrastedge.php"},
    {"GENWALKS", "genwalks.php"},
    {"GRIDSPREAD", "gridspread.php"},
    {"ISECTLINES", "isectlines.php"},
    {"ISECTPNT", "isect.php"},
    {"ISECTPRB", "isectprb.php"},
    {"KDE", "kde.php"},
    {"LANDSCAPECHAR", "lscapechar.php"},
    {"LINEMETRICS", "linemetrics.php"},
    {"LINERASTERSTATS", "linerasterstats.php"},
    {"LINESINPOLYS", "linesinpolys.php"},
    {"LOCSTOPATH", "locstopath.php"},
    {"MAXDISTGRIDVALS", "gridsep.php"},
    {"MCP", "createmcp.php"},
    {"MOVEPARAMSSIMPLE", "moveparamssimple.php"},
    {"MULTISCALESUMMARY", "multiscalesummary.php"},
    {"PATHTOPNTS", "pathtopnts.php"},
    {"PCTVOLCONTOUR", "pctvolcontour.php"},
    {"PLSSPNTFINDER", "plsspntfinder.php"},
    {"PNTDISTBETW", "pntdistbetw.php"},
    {"PNTDISTMATRIX", "pntdistmatrix.php"},
    {"PNTPOLYCNT", "pntpolycnt.php"},
    {"POLYPOLYANALYSIS", "polypolyanalysis.php"},
    {"RANDOMPNTS", "rndpnts.php"},
    {"REGULARPNTS", "regpnts.php"},
    {"RIVERSAMPLEEXTR", "riversampleextr.php"},
    {"RNDPNTS3D", "rndpnts3d.php"},
    {"RNDSEL", "rndsel.php"},
    {"RSTTYPECONV", "rstconv.php"},
    {"RSTTYPECONVBATCH", "rstconvbatch.php"},
    {"SAMPLINGSHAPE", "samplingshapes.php"},
    {"SNAPPNTSTOLINES", "snappntstolines.php"},
    {"SPATREPLACE", "sprep.php"},
    {"SUMVALUES", "sumvalues.php"},
    {"THEMRASTSUM", "themrstsum.php"},
    {"UV", "uv.php"},
    {"VECTORROTATE", "vectorrotation.php"},
    {"ZONALSTATS", "zonalstats.php"},
};

}  // namespace

std::string WebHelpAddress(const std::string& tag) {
  for (const Page& page : kPages)
    if (tag == page.tag) return std::string(kWebHelpBase) + page.page;
  return kWebHelpBase;
}

void ShowWebHelp(const std::string& tag) { ShellOpen(WebHelpAddress(tag)); }

}  // namespace orlinths
