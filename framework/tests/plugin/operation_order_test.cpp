// The order of the plug-in's operations in their table, which providers and hosts built against other headers rely on:
// two places for the destructor, then the operations one behind the other, and nothing behind the last one.
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "base/tests/virtual_place.h"
#include "framework/include/cfiplugininterposer.h"

namespace obzx_pdk_4_4 {
namespace {

using base_test::placeOf;
using B = CFiPluginBase;

const std::vector<int> PLACES = {placeOf(&B::delayedInit),
                                 placeOf(&B::globalConfigInfoList),
                                 placeOf(&B::init),
                                 placeOf(&B::fini),
                                 placeOf(&B::claim),
                                 placeOf(&B::supportsFiType),
                                 placeOf(&B::deportTree),
                                 placeOf(&B::importTreeNode),
                                 placeOf(&B::initNode),
                                 placeOf(&B::config),
                                 placeOf(&B::initAltNode),
                                 placeOf(&B::reAccessTmpObj),
                                 placeOf(&B::reAccessAltNode),
                                 placeOf(&B::deInitNode),
                                 placeOf(&B::dispose),
                                 placeOf(&B::online),
                                 placeOf(&B::subobjList),
                                 placeOf(&B::errMsg),
                                 placeOf(&B::buildAltTree),
                                 placeOf(&B::quiesce),
                                 placeOf(&B::unquiesce),
                                 placeOf(&B::make),
                                 placeOf(&B::makeSnapshots),
                                 placeOf(&B::prepare),
                                 placeOf(&B::prepareSnapshots),
                                 placeOf(&B::select),
                                 placeOf(&B::selectSnapshots),
                                 placeOf(&B::isReady),
                                 placeOf(&B::cacheDisable),
                                 placeOf(&B::cacheEnable),
                                 placeOf(&B::cacheFlush),
                                 placeOf(&B::interpose),
                                 placeOf(&B::getAttr),
                                 placeOf(&B::getProviderInfo),
                                 placeOf(&B::enumerateNodes),
                                 placeOf(&B::enumerateAssociations),
                                 placeOf(&B::enumerateGroupNodes),
                                 placeOf(&B::enumerateFims),
                                 placeOf(&B::isValidNodeAssociation),
                                 placeOf(&B::getAssociatedNodes),
                                 placeOf(&B::checkNodeExistence),
                                 placeOf(&B::objctl),
                                 placeOf(&B::processProviderState),
                                 placeOf(&B::getLastError),
                                 placeOf(&B::delLastError),
                                 placeOf(&B::getLocaleMessage),
                                 placeOf(&B::delLocaleMessage),
                                 placeOf(&B::enableAccess),
                                 placeOf(&B::disableAccess),
                                 placeOf(&B::restore),
                                 placeOf(&B::resync),
                                 placeOf(&B::getStatus),
                                 placeOf(&B::prePrepare),
                                 placeOf(&B::queryValidSecondaries),
                                 placeOf(&B::resourceStatus),
                                 placeOf(&B::revisitPluginNodes),
                                 placeOf(&B::verifyQSCombos),
                                 placeOf(&B::setImportOptions),
                                 placeOf(&B::startBuildAltTree),
                                 placeOf(&B::translateResourceNames),
                                 placeOf(&B::enumerateEnclosures),
                                 placeOf(&B::importResource),
                                 placeOf(&B::format),
                                 placeOf(&B::enumerateHostNodes),
                                 placeOf(&B::onlineResource),
                                 placeOf(&B::deportResource),
                                 placeOf(&B::isParentPgn),
                                 placeOf(&B::unformat),
                                 placeOf(&B::preDeportResource),
                                 placeOf(&B::refreshTree),
                                 placeOf(&B::getBackupset),
                                 placeOf(&B::getAppStatus),
                                 placeOf(&B::setOpStatus),
                                 placeOf(&B::setCompStatus),
                                 placeOf(&B::setRestorepaths),
                                 placeOf(&B::createSnapReplicaNode),
                                 placeOf(&B::updateSnapshotId),
                                 placeOf(&B::getSnapshotSetId),
                                 placeOf(&B::preselect),
                                 placeOf(&B::updateSnapshotHandle),
                                 placeOf(&B::getSnapdiff),
                                 placeOf(&B::postDeport),
                                 placeOf(&B::addIgnoreNodeType),
                                 placeOf(&B::setDefaultNodeType)};

/// Has one operation more than the interposer.
class CNext : public CFiPluginInterposer
{
  public:
    virtual void next() {}
};

TEST(OperationOrder, IsThatOfTheTableOfPlugins)
{
    std::vector<int> expected(PLACES.size());
    std::iota(expected.begin(), expected.end(), 2);
    EXPECT_EQ(PLACES, expected);
}

TEST(OperationOrder, OfAnInterposerEndsWithTheTwoFormsOfImportNode)
{
    using CListForm = int32_t (CFiPluginInterposer::*)(obzx_objid**, int32_t, bool, bool, int32_t);
    using CNameForm = int32_t (CFiPluginInterposer::*)(const ACE_String_Base<char>&, bool, bool, bool, int32_t);
    const int last = PLACES.back();
    EXPECT_EQ(placeOf(static_cast<CListForm>(&CFiPluginInterposer::importNode)), last + 1);
    EXPECT_EQ(placeOf(static_cast<CNameForm>(&CFiPluginInterposer::importNode)), last + 2);
    EXPECT_EQ(placeOf(&CNext::next), last + 3);
}

}  // namespace
}  // namespace obzx_pdk_4_4
