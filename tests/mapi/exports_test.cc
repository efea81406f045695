// The surface as a host meets it: the real library, loaded at run time, called through pointers.
#include <gmock/gmock.h>

#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {
namespace {

const char* const kListedExports[] = {
#include "exports_list.inc"
};

TEST(Exports, SymbolSetEqualsTheList) {
  ASSERT_NE(Library(), nullptr);
  EXPECT_THAT(ExportedSymbols(Library()), testing::UnorderedElementsAreArray(kListedExports));
  EXPECT_EQ(std::size(kListedExports), 25u);
  for (const char* name : kListedExports) {
    EXPECT_NE(GetProcAddress(Library(), name), nullptr) << name;
  }
}

TEST(Exports, UnsupportedFunctionsAnswerTheirCode) {
  void* p = nullptr;
  const auto call = [](const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(Library(), name));
  };
  // The parameter lists here are the published ones, written out a second time.
  using U = uint32_t;
  using W = uintptr_t;
  using V = void*;
#define QV_CALL(name, types, arguments) \
  reinterpret_cast<uint32_t(QVSMAPI_CALL*) types>(call(name)) arguments
  EXPECT_EQ(QV_CALL("MAPILogoff", (U, W, U, U), (7, 0, 0, 0)), 0u);
  EXPECT_EQ(QV_CALL("MAPISendDocuments", (W, V, V, V, U), (0, p, p, p, 0)), 26u);
  EXPECT_EQ(QV_CALL("MAPIFindNext", (U, W, V, V, U, U, V), (0, 0, p, p, 0, 0, p)), 26u);
  EXPECT_EQ(QV_CALL("MAPIReadMail", (U, W, V, U, U, V), (0, 0, p, 0, 0, p)), 26u);
  EXPECT_EQ(QV_CALL("MAPISaveMail", (U, W, V, U, U, V), (0, 0, p, 0, 0, p)), 26u);
  EXPECT_EQ(QV_CALL("MAPIDeleteMail", (U, W, V, U, U), (0, 0, p, 0, 0)), 26u);
  EXPECT_EQ(QV_CALL("MAPIFreeBuffer", (V), (p)), 26u);
  EXPECT_EQ(
      QV_CALL("MAPIAddress", (U, W, V, U, V, U, V, U, U, V, V), (0, 0, p, 0, p, 0, p, 0, 0, p, p)),
      26u);
  EXPECT_EQ(QV_CALL("MAPIDetails", (U, W, V, U, U), (0, 0, p, 0, 0)), 26u);
  EXPECT_EQ(QV_CALL("MAPIResolveName", (U, W, V, U, U, V), (0, 0, p, 0, 0, p)), 26u);
  EXPECT_EQ(QV_CALL("cmc_send_documents", (V, V, V, U, V, V, V, W), (p, p, p, 0, p, p, p, 0)), 21u);
  EXPECT_EQ(QV_CALL("cmc_act_on", (U, V, U, U, W, V), (0, p, 0, 0, 0, p)), 21u);
  EXPECT_EQ(QV_CALL("cmc_list", (U, V, U, V, V, W, V, V), (0, p, 0, p, p, 0, p, p)), 21u);
  EXPECT_EQ(QV_CALL("cmc_read", (U, V, U, V, W, V), (0, p, 0, p, 0, p)), 21u);
  EXPECT_EQ(QV_CALL("cmc_look_up", (U, V, U, W, V, V, V), (0, p, 0, 0, p, p, p)), 21u);
  EXPECT_EQ(QV_CALL("cmc_free", (V), (p)), 21u);
#undef QV_CALL
}

TEST(Exports, LogonHandsOutTheOneSession) {
  const auto mapi_logon = Export<QvMapiLogon>("MAPILogon");
  const auto cmc_logon = Export<QvCmcLogon>("cmc_logon");
  const auto cmc_logoff = Export<QvCmcLogoff>("cmc_logoff");
  char text[] = "any";
  uint32_t session = 5;
  EXPECT_EQ(mapi_logon(1, text, text, 0xFFFFFFFF, 1, &session), 0u);
  EXPECT_EQ(session, 1000u);
  EXPECT_EQ(mapi_logon(0, nullptr, nullptr, 0, 0, nullptr), 0u);

  session = 5;
  EXPECT_EQ(cmc_logon(text, nullptr, nullptr, nullptr, 0, 100, 0, &session, nullptr), 21u);
  EXPECT_EQ(session, 5u);
  EXPECT_EQ(cmc_logon(nullptr, text, text, text, 1, 7, 0xFFFFFFFF, &session, text), 0u);
  EXPECT_EQ(session, 1000u);
  EXPECT_EQ(cmc_logon(nullptr, nullptr, nullptr, nullptr, 0, 100, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(cmc_logoff(1000, 0, 0, nullptr), 0u);
  EXPECT_EQ(cmc_logoff(999, 0, 0, nullptr), 21u);
}

TEST(Exports, ConfigurationQueryKnowsOneItem) {
  using Query = uint32_t(QVSMAPI_CALL*)(uint32_t, int32_t, void*, void*);
  const auto query = Export<Query>("cmc_query_configuration");
  uint16_t value[2] = {7, 7};
  int extension = 0;
  EXPECT_EQ(query(0, 7, value, nullptr), 21u);
  EXPECT_EQ(query(1000, 8, value, nullptr), 21u);
  EXPECT_EQ(query(0, 8, value, &extension), 21u);
  EXPECT_EQ(value[0], 7u);
  EXPECT_EQ(query(0, 8, value, nullptr), 0u);
  EXPECT_EQ(value[0], 1u);
  EXPECT_EQ(value[1], 7u) << "16 bits are written";
  EXPECT_EQ(query(0, 8, nullptr, nullptr), 0u);
}

}  // namespace
}  // namespace mapi_test
