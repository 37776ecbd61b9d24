#include "host/Commands.h"

#include <gmock/gmock.h>

#include "host/SmallDialogs.h"
#include "runtime/RuntimeError.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An application that knows an extension under every ProgID, and remembers what it was asked for.
struct Asked : HeadlessApplication {
  void* FindExtension(const std::string& progId) override {
    extensions.push_back(progId);
    return &extensions;
  }
  orlinths::IMxDocument* Document() override {
    return hasDocument ? HeadlessApplication::Document() : nullptr;
  }
  std::vector<std::string> extensions;
  bool hasDocument = true;
};

struct CommandsTest : ::testing::Test {
  TestHost host;
  Asked application;
  std::unique_ptr<ICommand> Made(const std::string& className) {
    auto command = CreateCommand(ProgId(className));
    command->OnCreate(&application);
    return command;
  }
};

TEST_F(CommandsTest, AnswerTheSameQuestionsAlike) {
  for (const CommandInfo& info : AllCommands()) {
    const auto command = CreateCommand(ProgId(info.className));
    ASSERT_NE(command, nullptr) << info.className;
    EXPECT_TRUE(command->Enabled()) << "also without a map, and before OnCreate";
    EXPECT_FALSE(command->Checked());
    EXPECT_EQ(command->Name(), info.name);
    EXPECT_EQ(command->Caption(), info.caption);
    EXPECT_EQ(command->Tooltip(), info.tooltip);
    EXPECT_EQ(command->Message(), info.message);
    EXPECT_EQ(command->HelpFile(), "");
    EXPECT_EQ(command->HelpContextID(), 0);
    EXPECT_EQ(command->Bitmap(), info.bitmap);
    EXPECT_EQ(command->Category(), "OrlinthsTools3");
  }
}

TEST_F(CommandsTest, KeepApplicationDocumentMapAndTheirOwnExtension) {
  const auto command = Made("clsRndPnt");
  const KeptAtCreation& kept = command->Kept();
  EXPECT_EQ(kept.application, &application);
  EXPECT_EQ(kept.document, application.Document());
  EXPECT_EQ(kept.map, &application.map);
  EXPECT_EQ(kept.extensionProgId, "OrlinthsTools3.clsRndPnt");
  EXPECT_EQ(kept.extension, &application.extensions);
}

TEST_F(CommandsTest, FindNoExtensionInAnOrdinaryHostAndThatIsHarmless) {
  const auto command = CreateCommand(ProgId("clsRndPnt"));
  command->OnCreate(&host.application);
  EXPECT_EQ(command->Kept().extension, nullptr);
}

TEST_F(CommandsTest, AboutLooksUpNoExtension) {
  const auto command = Made("clsAbout");
  EXPECT_EQ(command->Kept().application, &application);
  EXPECT_NE(command->Kept().document, nullptr);
  EXPECT_EQ(command->Kept().map, &application.map);
  EXPECT_EQ(command->Kept().extension, nullptr);
  EXPECT_THAT(application.extensions, IsEmpty());
}

TEST_F(CommandsTest, MoveParamsSimpleKeepsApplicationAndExtensionOnly) {
  application.hasDocument = false;  // it does not even ask
  const auto command = Made("clsMoveParamsSimple");
  EXPECT_EQ(command->Kept().application, &application);
  EXPECT_EQ(command->Kept().document, nullptr);
  EXPECT_EQ(command->Kept().map, nullptr);
  EXPECT_EQ(command->Kept().extension, &application.extensions);
  EXPECT_THAT(application.extensions, ElementsAre("OrlinthsTools3.clsMoveParamsSimple"));
}

TEST_F(CommandsTest, ClipRasterByPolysAsksUnderTheNameOfClipRaster) {
  Made("clsClipRasterByPolys");
  EXPECT_THAT(application.extensions, ElementsAre("OrlinthsTools3.clsRClip"));
}

TEST_F(CommandsTest, EveryOtherDialogCommandAsksUnderItsOwnName) {
  std::vector<std::string> wanted;
  for (const CommandInfo& info : AllCommands()) {
    Made(info.className);
    const std::string name = info.className;
    if (*info.dialog == '\0' || name == "clsAbout") continue;
    wanted.push_back(ProgId(name == "clsClipRasterByPolys" ? "clsRClip" : name));
  }
  EXPECT_EQ(application.extensions, wanted);
}

TEST_F(CommandsTest, MapToolsKeepNothing) {
  for (const char* className : {"clsViewExtentSet", "clsViewExtentZoom", "clsDigitise"}) {
    const auto command = Made(className);
    EXPECT_EQ(command->Kept().application, nullptr);
    EXPECT_EQ(command->Kept().document, nullptr);
    EXPECT_EQ(command->Kept().map, nullptr);
    EXPECT_NE(dynamic_cast<ITool*>(command.get()), nullptr);
  }
  EXPECT_EQ(dynamic_cast<ITool*>(Made("clsMCP").get()), nullptr);
  EXPECT_THAT(application.extensions, ElementsAre("OrlinthsTools3.clsMCP"));
}

TEST_F(CommandsTest, PassAFailingHostOnToTheHost) {
  application.hasDocument = false;
  EXPECT_THROW(Made("clsRndPnt"), RuntimeError);
  EXPECT_THROW(CreateCommand(ProgId("clsRndPnt"))->OnCreate(nullptr), RuntimeError);
  SetApplication(nullptr);
  EXPECT_THROW(CreateCommand(ProgId("clsRndPnt"))->OnClick(), RuntimeError);
  EXPECT_THAT(host.Messages(), IsEmpty());
}

// ---- Clicks

TEST_F(CommandsTest, AClickFillsTheGlobals) {
  EXPECT_EQ(gApp, nullptr);
  host.Click("clsJulianDay");
  EXPECT_EQ(gApp, &host.application);
  EXPECT_EQ(gMxDoc, host.application.Document());
  EXPECT_EQ(gMap, &host.map);
  EXPECT_NE(gDigXY, nullptr);
}

TEST_F(CommandsTest, AClickTakesTheMapThatHasTheFocusThen) {
  host.Click("clsJulianDay").Press("btnExit");
  const frmDigXY* digXY = gDigXY;
  SetApplication(&application);
  EXPECT_EQ(gMap, &host.map) << "nothing refreshes the globals between clicks";
  host.Click("clsJulianDay");
  EXPECT_EQ(gMap, &application.map);
  EXPECT_EQ(gDigXY, digXY);
}

TEST_F(CommandsTest, AboutLeavesTheGlobalsEmpty) {
  host.Click("clsAbout");
  EXPECT_EQ(gApp, nullptr);
  EXPECT_EQ(gMxDoc, nullptr);
  EXPECT_EQ(gMap, nullptr);
  EXPECT_EQ(gDigXY, nullptr);
}

TEST_F(CommandsTest, AClickShowsTheSharedDialogAgain) {
  Hand first = host.Click("clsJulianDay");
  Dialog* dialog = &*first;
  first.Press("btnExit");
  EXPECT_EQ(&*host.Click("clsJulianDay"), dialog);
  EXPECT_EQ(&SharedDialog("frmJulianDay"), dialog);
}

struct Counted : Dialog {
  explicit Counted(std::string name) : Dialog(std::move(name), "Counted") { ++made; }
  ~Counted() override { ++gone; }
  inline static int made = 0, gone = 0;
};

TEST_F(CommandsTest, TwoCommandsMakeANewDialogAtEachClick) {
  for (const auto& [className, dialogName] : {std::pair("clsFastLScape", "frmLandscapeChar"),
                                              std::pair("clsRstTypeConv", "frmRstTypeConv")}) {
    RegisterDialog(dialogName, [name = dialogName] { return std::make_unique<Counted>(name); });
    Counted::made = Counted::gone = 0;
    const auto command = CreateCommand(ProgId(className));
    for (int click = 1; click <= 2; ++click) {
      host.dialogs.WhenOpened(dialogName, [](Hand it) { it->Unload(); });
      command->OnClick();
      EXPECT_EQ(Counted::made, click);
      EXPECT_EQ(Counted::gone, click) << "released after the click";
    }
  }
}

TEST_F(CommandsTest, WithoutTheirToolSaySoInOneMessage) {
  const CommandInfo* missing = nullptr;
  for (const CommandInfo& info : AllCommands())
    if (std::string(info.className) == "clsBuffer" && !HasDialog(info.dialog)) missing = &info;
  ASSERT_NE(missing, nullptr) << "this program is linked without the tools";
  EXPECT_FALSE(IsAvailable(*missing));
  CreateCommand(ProgId("clsBuffer"))->OnClick();
  EXPECT_EQ(host.Messages(),
            Texts{"This tool is not available yet: Buffer Features (Retain Attributes)"});
}

TEST_F(CommandsTest, OfMapToolsAndSmallDialogsAreAvailable) {
  for (const char* className :
       {"clsViewExtentSet", "clsViewExtentZoom", "clsDigitise", "clsAbout", "clsJulianDay"})
    EXPECT_TRUE(IsAvailable(*FindCommand(className))) << className;
}

// ---- The registry of dialogs

TEST_F(CommandsTest, ADialogIsMadeOnFirstUseAndKept) {
  Counted::made = Counted::gone = 0;
  RegisterDialog("frmCounted", [] { return std::make_unique<Counted>("frmCounted"); });
  EXPECT_EQ(Counted::made, 0);
  Dialog& shared = SharedDialog("frmCounted");
  EXPECT_EQ(&SharedDialog("frmCounted"), &shared);
  EXPECT_EQ(Counted::made, 1);
  const auto another = NewDialog("frmCounted");
  EXPECT_NE(another.get(), &shared);
  ForgetDialogs();
  EXPECT_EQ(Counted::gone, 1);
  EXPECT_THROW(SharedDialog("frmNobody"), RuntimeError);
  EXPECT_THROW(NewDialog("frmNobody"), RuntimeError);
}

// ---- Extension and entry points

TEST(Extension, AnswersAndKeepsItsState) {
  const auto extension = CreateExtension(ProgId("clsExtOrlinth"));
  ASSERT_NE(extension, nullptr);
  EXPECT_EQ(extension->Name(), "OrlinthsTools3");
  EXPECT_EQ(extension->ProductName(), "Orlinth's Analysis Tools");
  EXPECT_EQ(extension->Description(),
            "Tools to facilitate answering ecological research questions.");
  EXPECT_EQ(extension->State(), 0);
  extension->Startup();
  extension->SetState(7);
  extension->Shutdown();
  EXPECT_EQ(extension->State(), 7);
  EXPECT_TRUE(CreateCommand(ProgId("clsMCP"))->Enabled()) << "no command looks at it";
  EXPECT_EQ(CreateExtension(ProgId("clsMCP")), nullptr);
}

TEST(EntryPoints, KnowEveryClass) {
  EXPECT_EQ(DllRegisterServer(), 0);
  EXPECT_EQ(DllUnregisterServer(), 0);
  for (const CommandInfo& info : AllCommands())
    EXPECT_EQ(DllGetClassObject(ProgId(info.className)), 0);
  EXPECT_EQ(DllGetClassObject(ProgId("clsExtOrlinth")), 0);
  EXPECT_EQ(DllGetClassObject(ProgId("clsExtOrlinthToolbar")), 0);
  for (const char* none : {"OrlinthsTools3.clsNone", "OrlinthsTools3.", "clsMCP", "frmMCP", ""})
    EXPECT_EQ(static_cast<std::uint32_t>(DllGetClassObject(none)), 0x80040111u) << none;
}

TEST(EntryPoints, AllowUnloadingWhenNothingIsAlive) {
  EXPECT_EQ(DllCanUnloadNow(), 0);
  auto command = CreateCommand(ProgId("clsMCP"));
  auto menu = CreateMenu(ProgId("clsExtOrlinthMenu"));
  auto extension = CreateExtension(ProgId("clsExtOrlinth"));
  EXPECT_EQ(DllCanUnloadNow(), 1);
  command.reset();
  menu.reset();
  EXPECT_EQ(DllCanUnloadNow(), 1);
  extension.reset();
  EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(CreateCommand, GivesNothingForWhatIsNoCommand) {
  for (const char* none : {"OrlinthsTools3.clsNone", "clsMCP", "OrlinthsTools3.clsExtOrlinthMenu",
                           "OtherTools.clsMCP", ""})
    EXPECT_EQ(CreateCommand(none), nullptr) << none;
  EXPECT_NE(CreateCommand("orlinthstools3.CLSMCP"), nullptr) << "ProgIDs ignore case";
}

}  // namespace
}  // namespace orlinths
