#include "io/SignalSelection.h"

namespace pppio {

namespace {

constexpr char kLibrarySystemLetters[kLibrarySystems + 1] = "GREC";

// Candidate signals per system and role, in order of preference; null ends a list.
const char* const kSignalTable[kLibrarySystems][kRoleCount][kMaxSignalCandidates] = {
    // GPS
    {{"C1W", "C1C", nullptr}, {"C2W", "C2L", "C2X"}, {"L1C", "L1W", nullptr}, {"L2W", "L2L", "L2X"},
     {"D1C", "D1W", nullptr}},
    // GLONASS
    {{"C1P", "C1C", nullptr}, {"C2P", "C2C", nullptr}, {"L1P", "L1C", nullptr}, {"L2P", "L2C", nullptr},
     {"D1P", "D1C", nullptr}},
    // Galileo
    {{"C1C", "C1X", nullptr}, {"C5Q", "C5X", nullptr}, {"L1C", "L1X", nullptr}, {"L5Q", "L5X", nullptr},
     {"D1C", "D1X", nullptr}},
    // BeiDou
    {{"C2I", nullptr, nullptr}, {"C7I", nullptr, nullptr}, {"L2I", nullptr, nullptr}, {"L7I", nullptr, nullptr},
     {"D2I", nullptr, nullptr}},
};

}  // namespace

int LibrarySystemIndex(char system)
{
    for (int s = 0; s < kLibrarySystems; ++s)
        if (kLibrarySystemLetters[s] == system)
            return s;
    return -1;
}

SignalSelector::SignalSelector(const RinexObsHeader& header)
{
    for (int s = 0; s < kLibrarySystems; ++s) {
        for (int role = 0; role < kRoleCount; ++role) {
            Candidates& c = m_candidates[s][role];
            c.count = 0;
            for (int k = 0; k < kMaxSignalCandidates && kSignalTable[s][role][k]; ++k) {
                const int index = header.obsIndex(kLibrarySystemLetters[s], kSignalTable[s][role][k]);
                if (index < 0)
                    continue;
                c.index[c.count] = index;
                c.choice[c.count] = k;
                ++c.count;
            }
        }
    }
}

const char* SignalSelector::candidateCode(char system, SignalRole role, int choice)
{
    const int s = LibrarySystemIndex(system);
    if (s < 0 || choice < 0 || choice >= kMaxSignalCandidates || !kSignalTable[s][role][choice])
        return "";
    return kSignalTable[s][role][choice];
}

std::string SignalSelector::preferredCodes(char system) const
{
    const int s = LibrarySystemIndex(system);
    if (s < 0)
        return "";
    const Candidates& c1 = m_candidates[s][kCode1];
    const Candidates& c2 = m_candidates[s][kCode2];
    if (c1.count == 0 || c2.count == 0)
        return "";
    return std::string(candidateCode(system, kCode1, c1.choice[0])) + "/" + candidateCode(system, kCode2, c2.choice[0]);
}

bool SignalSelector::pick(const ObsEpoch& epoch, int sat, const Candidates& c, const ObsValue** value,
                          int* choice) const
{
    for (int k = 0; k < c.count; ++k) {
        const ObsValue& v = epoch.obs(sat, c.index[k]);
        if (v.present()) {
            *value = &v;
            *choice = c.choice[k];
            return true;
        }
    }
    return false;
}

bool SignalSelector::select(const ObsEpoch& epoch, int sat, SelectedSignals& out) const
{
    const int s = LibrarySystemIndex(epoch.satellite(sat).system);
    if (s < 0)
        return false;
    const Candidates* c = m_candidates[s];
    const ObsValue *p1, *p2, *l1, *l2, *d1;
    int phaseChoice, dopplerChoice;
    if (!pick(epoch, sat, c[kCode1], &p1, &out.code1Choice) || !pick(epoch, sat, c[kCode2], &p2, &out.code2Choice) ||
        !pick(epoch, sat, c[kPhase1], &l1, &phaseChoice) || !pick(epoch, sat, c[kPhase2], &l2, &phaseChoice))
        return false;
    out.code1 = p1->value;
    out.code2 = p2->value;
    out.phase1 = l1->value;
    out.phase2 = l2->value;
    out.lli1 = l1->lli;
    out.lli2 = l2->lli;
    out.ssi1 = l1->ssi;
    out.ssi2 = l2->ssi;
    out.doppler1 = pick(epoch, sat, c[kDoppler1], &d1, &dopplerChoice) ? d1->value : 0.0;
    return true;
}

void SignalTally::count(char system, const SelectedSignals& s)
{
    const int sys = LibrarySystemIndex(system);
    if (sys >= 0 && s.code1Choice >= 0 && s.code1Choice < kMaxSignalCandidates && s.code2Choice >= 0 &&
        s.code2Choice < kMaxSignalCandidates)
        ++m_counts[sys][s.code1Choice][s.code2Choice];
}

long SignalTally::total(char system) const
{
    const int sys = LibrarySystemIndex(system);
    long sum = 0;
    if (sys >= 0)
        for (const auto& row : m_counts[sys])
            for (long n : row)
                sum += n;
    return sum;
}

std::string SignalTally::describe(char system) const
{
    const int sys = LibrarySystemIndex(system);
    std::string text;
    if (sys < 0)
        return text;
    for (int a = 0; a < kMaxSignalCandidates; ++a) {
        for (int b = 0; b < kMaxSignalCandidates; ++b) {
            const long n = m_counts[sys][a][b];
            if (n == 0)
                continue;
            if (!text.empty())
                text += ", ";
            text += std::string(SignalSelector::candidateCode(system, kCode1, a)) + "/" +
                    SignalSelector::candidateCode(system, kCode2, b) + " " + std::to_string(n);
        }
    }
    return text;
}

}  // namespace pppio
