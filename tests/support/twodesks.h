#pragma once

#include "librarytest.h"
#include "roamingdesk.h"

#include <roaming/sending.h>

/// Base of the tests of two desks of a trader, without processes and with a server in memory.
class CTwoDesksTest : public CLibraryTest {
protected:
    void initDesks()
    {
        CLibraryTest::init();
        m_pServer = std::make_shared<roaming::CMemoryServer>();
        m_pLeft = std::make_unique<CTestDesk>();
        m_pRight = std::make_unique<CTestDesk>();
    }

    roaming::Preparation prepared(const CTestDesk& desk) const
    {
        return roaming::prepare(desk.desk(), storeOn(m_pServer), 20000);
    }

    roaming::Sending sent(const CTestDesk& desk) const
    {
        roaming::CMemoryStore store(m_pServer);
        return roaming::send(desk.desk(), store);
    }

    /// Both desks have the text "first".
    void bringInStep() const
    {
        m_pLeft->write(CTestDesk::user("first", "left's"));
        QCOMPARE(prepared(*m_pLeft).result, roaming::PrepareResult::InStep);
        QCOMPARE(sent(*m_pLeft).result, roaming::SendResult::Sent);
        QCOMPARE(prepared(*m_pRight).result, roaming::PrepareResult::Taken);
    }

    std::shared_ptr<roaming::CMemoryServer> m_pServer;
    std::unique_ptr<CTestDesk> m_pLeft;
    std::unique_ptr<CTestDesk> m_pRight;
};
