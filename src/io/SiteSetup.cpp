#include "io/SiteSetup.h"

#include <cctype>
#include <cmath>
#include <cstring>

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "common/gnsscmn.h"
#include "io/AntennaTable.h"
#include "io/SinexReader.h"

namespace pppio {

namespace {

// A pair of ANTEX frequencies standing for the library's two frequencies.
struct FrequencyPair {
    const AntexFrequency* first = nullptr;
    const AntexFrequency* second = nullptr;
    bool found() const { return first && second; }
};

FrequencyPair FindPair(const AntexAntenna& antenna, const char* code1, const char* code2)
{
    FrequencyPair pair;
    pair.first = antenna.frequency(code1);
    pair.second = antenna.frequency(code2);
    return pair.found() ? pair : FrequencyPair{};
}

// GPS, Galileo and BeiDou share one pair in the site record: GPS values
// first, else those of the other systems.
FrequencyPair SharedPair(const AntexAntenna& antenna)
{
    FrequencyPair pair = FindPair(antenna, "G01", "G02");
    if (!pair.found())
        pair = FindPair(antenna, "E01", "E05");
    if (!pair.found())
        pair = FindPair(antenna, "C02", "C07");
    return pair;
}

FrequencyPair GlonassPair(const AntexAntenna& antenna)
{
    const FrequencyPair pair = FindPair(antenna, "R01", "R02");
    return pair.found() ? pair : SharedPair(antenna);
}

void CopyText(const std::string& text, char* field, size_t size)
{
    std::strncpy(field, text.c_str(), size - 1);
    field[size - 1] = '\0';
}

// Offsets of the marker to the phase centres: eccentricities plus the ANTEX offset when known.
void FillOffsets(const RinexObsHeader& header, const FrequencyPair& pair, tagCRDTOPOCENTRIC* pco)
{
    const AntexFrequency* frequencies[2] = {pair.first, pair.second};
    for (int f = 0; f < 2; ++f) {
        pco[f] = {header.antennaDeltaN, header.antennaDeltaE, header.antennaDeltaH};
        if (!frequencies[f])
            continue;
        pco[f].north += frequencies[f]->offset[0];
        pco[f].east += frequencies[f]->offset[1];
        pco[f].up += frequencies[f]->offset[2];
    }
}

std::string FourCharacterName(const std::string& name)
{
    std::string id = name.substr(0, 4);
    for (char& c : id)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return id;
}

}  // namespace

tagSITE BuildSite(const RinexObsHeader& header, const SiteRequest& request, const tagGPSTIME2& epoch,
                  SiteReport& report)
{
    tagSITE site;
    std::memset(&site, 0, sizeof(site));
    report.name = FourCharacterName(request.name.empty() ? header.markerName : request.name);
    if (report.name.empty())
        report.name = "SITE";
    CopyText(report.name, site.name, sizeof(site.name));

    double xyz[3] = {0.0, 0.0, 0.0};
    report.coordinatesKnown = true;
    if (request.hasApriori) {
        std::memcpy(xyz, request.apriori, sizeof(xyz));
        report.coordinates = "given";
    } else if (request.sinex && request.sinex->position(report.name, epoch, xyz)) {
        report.coordinates = "SINEX";
    } else {
        report.coordinatesKnown = false;
        report.coordinates = "none (first single point solution)";
    }
    site.crd = {xyz[0], xyz[1], xyz[2]};
    if (report.coordinatesKnown) {
        CGNSSCoordConvert convert;
        convert.CartesianToGeodetic(&site.crd, &site.blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    }

    CopyText(header.receiverType, site.text_a, sizeof(site.text_a));
    CopyText(header.antennaType, site.text_b, sizeof(site.text_b));
    site.height_ref = header.antennaDeltaH;

    report.antenna = header.antennaType;
    report.calibration = request.antennas ? request.antennas->receiver(header.antennaType, &report.radomeReplaced)
                                          : nullptr;
    const FrequencyPair shared = report.calibration ? SharedPair(*report.calibration) : FrequencyPair{};
    const FrequencyPair glonass = report.calibration ? GlonassPair(*report.calibration) : FrequencyPair{};
    FillOffsets(header, shared, site.pco);
    FillOffsets(header, glonass, site.pcoGlo);
    site.hasPco = 1;
    return site;
}

bool LoadReceiverPcv(const AntexAntenna& antenna, CGNSSErrorCorrection& model)
{
    const FrequencyPair shared = SharedPair(antenna);
    if (!shared.found() || !(antenna.dzen > 0.0) || antenna.zenithCount < 2)
        return false;
    const FrequencyPair glonass = GlonassPair(antenna);

    tagPCVINFO& info = model.m_recPcv;
    model.DelPcvData(&info);   // the grids go with the old counts
    // At least three azimuth rows (0, 180, 360 degrees): the engine reads two rows as no grid.
    const bool azimuthGrid = antenna.dazi > 0.0 && antenna.dazi <= 180.0 && antenna.azimuthCount >= 2;
    const double lastZenith = std::fmax(antenna.zen2, 90.0);
    CopyText(antenna.type, info.name, sizeof(info.name));
    info.zenithStep = antenna.dzen;
    info.nZenith = static_cast<int>(std::ceil(lastZenith / antenna.dzen - 1e-9)) + 1;
    info.maxZenith = (info.nZenith - 1) * antenna.dzen;
    info.azimuthStep = azimuthGrid ? antenna.dazi : 0.0;
    info.nAzimuth = azimuthGrid ? Round(360.0 / antenna.dazi) + 1 : 1;
    if (!model.NewPcvInfo(&info))
        return false;

    const AntexFrequency* frequencies[4] = {shared.first, shared.second, glonass.first, glonass.second};
    for (int g = 0; g < 4; ++g)
        for (int row = 0; row < info.nAzimuth; ++row)
            for (int column = 0; column < info.nZenith; ++column)
                info.grid[g][row][column] =
                    receiverPcv(antenna, *frequencies[g], row * info.azimuthStep, column * info.zenithStep) * 1000.0;
    return true;
}

}  // namespace pppio
