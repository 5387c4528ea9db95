#pragma once
// A VisaSession for driver tests: records every command written and answers queries from a table.

#include "instruments/visa/visa_session.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace zel::testing {

class FakeVisa : public visa::VisaSession {
public:
    std::vector<std::string> writes;
    std::vector<std::string> opened;                         // resources asked for, in order
    std::set<std::string> missingResources;                  // open fails with "not found"
    std::map<std::string, std::string> replies;              // query -> reply text
    std::function<std::string(const std::string&)> replyFor; // consulted before the table
    visa::ViStatus failWrites = visa::VI_SUCCESS;            // every write fails with this when negative
    visa::LinkState link = visa::LinkState::Connected;       // what linkState reports

    visa::ViStatus openDefaultRM(visa::ViSession& rm) override {
        rm = 1;
        return visa::VI_SUCCESS;
    }
    visa::ViStatus open(visa::ViSession, std::string_view resource, std::uint32_t, std::uint32_t,
                        visa::ViSession& vi) override {
        opened.emplace_back(resource);
        if (missingResources.count(std::string(resource))) return visa::VI_ERROR_RSRC_NFOUND;
        vi = 2;
        return visa::VI_SUCCESS;
    }
    visa::ViStatus setAttribute(visa::ViSession, std::uint32_t, std::uint64_t) override {
        return visa::VI_SUCCESS;
    }
    visa::ViStatus write(visa::ViSession, std::string_view data, std::uint32_t& written) override {
        if (failWrites < 0) return failWrites;
        writes.emplace_back(data);
        written = static_cast<std::uint32_t>(data.size());
        return visa::VI_SUCCESS;
    }
    visa::ViStatus read(visa::ViSession, std::string& data, std::uint32_t maxCount) override {
        data.clear();
        const std::string& last = writes.empty() ? std::string() : writes.back();
        if (replyFor) data = replyFor(last);
        if (data.empty()) {
            const auto it = replies.find(last);
            if (it == replies.end()) return visa::VI_ERROR_TMO;
            data = it->second;
        }
        if (data.size() > maxCount) data.resize(maxCount);
        return visa::VI_SUCCESS;
    }
    std::string statusDesc(visa::ViSession, visa::ViStatus status) override {
        return "status " + std::to_string(status);
    }
    visa::ViStatus close(visa::ViSession) override { return visa::VI_SUCCESS; }
    visa::LinkState linkState(visa::ViSession) const override { return link; }
};

} // namespace zel::testing
