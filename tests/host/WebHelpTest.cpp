#include "host/WebHelp.h"

#include <gtest/gtest.h>

#include "host/Commands.h"
#include "support/CapturedMessages.h"

namespace orlinths {
namespace {

constexpr const char* kPages[][2] = {
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

TEST(WebHelp, HasAPageForEveryTag) {
  EXPECT_EQ(std::size(kPages), 53u);
  for (const auto& [tag, page] : kPages)
    EXPECT_EQ(WebHelpAddress(tag), std::string(kWebHelpBase) + page);
}

TEST(WebHelp, OfAnUnknownTagIsTheBaseAddress) {
  EXPECT_EQ(WebHelpAddress("SNAPPOLYSTOPNTS"), kWebHelpBase);
  EXPECT_EQ(WebHelpAddress(""), kWebHelpBase);
  EXPECT_EQ(WebHelpAddress("mcp"), kWebHelpBase) << "tags match exactly";
  EXPECT_EQ(WebHelpAddress("MCP "), kWebHelpBase);
}

TEST(WebHelp, BaseAddressEndsInItsPathElement) {
  EXPECT_TRUE(std::string(kWebHelpBase).ends_with("/otools/"));
}

TEST(WebHelp, IsGivenToTheShell) {
  CapturedMessages messages;
  ShowWebHelp("KDE");
  ShowWebHelp("NOSUCHTAG");
  EXPECT_EQ(messages.shellTargets, (Texts{std::string(kWebHelpBase) + "kde.php", kWebHelpBase}));
}

}  // namespace
}  // namespace orlinths
