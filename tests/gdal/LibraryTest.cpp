#include "gdal/Library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include <cpl_error.h>
#include <gdal.h>

#include "runtime/Ports.h"
#include "support/ErrorNumberOf.h"
#include "support/Faults.h"

namespace orlinths {
namespace {

TEST(EnsureGdal, RegistersTheDriversHoweverOftenCalled) {
  EnsureGdal();
  EnsureGdal();
  EXPECT_NE(GDALGetDriverByName("ESRI Shapefile"), nullptr);
}

TEST(QuietGdal, KeepsFailuresAndWarningsOffTheErrorStream) {
  testing::internal::CaptureStderr();
  {
    const QuietGdal quiet;
    CPLError(CE_Warning, CPLE_AppDefined, "mind");
    CPLError(CE_Failure, CPLE_AppDefined, "lost %d", 1);
    CPLError(CE_Failure, CPLE_AppDefined, "lost 2");
    EXPECT_THAT(quiet.Failures(), testing::ElementsAre("lost 1", "lost 2"));
    EXPECT_THAT(quiet.Warnings(), testing::ElementsAre("mind"));
    EXPECT_EQ(ErrorTextOf([&] { quiet.RaiseIfFailed(); }), "lost 1");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(QuietGdal, PutsTheHandlerBackThatWasThere) {
  const QuietGdal outer;
  {
    const QuietGdal inner;
    CPLError(CE_Failure, CPLE_AppDefined, "inner");
  }
  CPLError(CE_Failure, CPLE_AppDefined, "outer");
  EXPECT_THAT(outer.Failures(), testing::ElementsAre("outer"));
}

TEST(QuietGdal, StartsWithoutAFailure) {
  const QuietGdal outer;
  CPLError(CE_Failure, CPLE_AppDefined, "an old one");
  const QuietGdal quiet;
  quiet.RaiseIfFailed();
  EXPECT_EQ(ErrorTextOf([] { RaiseGdal("Nothing was said."); }), "Nothing was said.");
}

/// The library's own code is in C, through which no exception may pass.
TEST(QuietGdal, ThrowsNothingThroughTheLibraryWhenMemoryRunsOut) {
  const QuietGdal quiet;
  bool threw = false;
  {
    const Fault fault(FaultKind::kAllocation, 1, FaultAction::kFailFromOn);
    try {
      CPLError(CE_Failure, CPLE_AppDefined, "lost, in words that are too long to need no space");
    } catch (...) {
      threw = true;
    }
    EXPECT_TRUE(fault.HasStruck());
  }
  EXPECT_FALSE(threw);
  EXPECT_TRUE(quiet.Failures().empty());
  EXPECT_STREQ(CPLGetLastErrorMsg(), "lost, in words that are too long to need no space");
}

TEST(RaiseGdal, RaisesAPlatformErrorInGdalsOwnWords) {
  const QuietGdal quiet;
  EnsureGdal();
  EXPECT_EQ(GDALOpenEx("/no/such/file.tif", GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR, nullptr,
                       nullptr, nullptr),
            nullptr);
  EXPECT_EQ(ErrorTextOf([] { RaiseGdal("It does not open."); }),
            std::string("/no/such/file.tif: ") + std::strerror(ENOENT));
  EXPECT_EQ(ErrorNumberOf([] { RaiseGdal("It does not open."); }), -2147467259);
}

TEST(RaiseGdal, RaisesSevenWhenMemoryRanOut) {
  const QuietGdal quiet;
  CPLError(CE_Failure, CPLE_OutOfMemory, "cannot allocate");
  EXPECT_EQ(ErrorNumberOf([] { RaiseGdal(""); }), 7);
}

TEST(RaiseGdal, RaisesEighteenAfterAStopRequest) {
  RequestStop();
  EXPECT_EQ(ErrorNumberOf([] { RaiseGdal("cancelled"); }), 18);
  ClearStop();
}

}  // namespace
}  // namespace orlinths
