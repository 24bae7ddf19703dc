// Work functions and barriers of contacts against the layers they touch.
#include "device/contacts.h"

#include "support/uniform_layer.h"

#include <gtest/gtest.h>

namespace kovin {
namespace {

using test::add_defect;
using test::LayerFigures;
using test::set_layer;

TEST(Contacts, FlatBandWorkFunctionsOfKnownLayers)
{
    // Outer layers of the sample cells, whose tests have more; the work functions come from an independent program.
    struct Row {
        const char* what;
        int side;
        LayerFigures figures;
        DefectType type;
        double Et, Nt, Fi_m;
        int majority;
    };
    const LayerFigures ZnO{.Eg = 3.3, .chi = 4.4, .Nc = 2.2e24, .Nv = 1.8e25, .Nd = 1e24};
    const Row rows[] = {
        {"ZnO, Gaussian donors below mid gap stay neutral", +1, ZnO, DefectType::donor, 1.65, 1e23, 4.4204, -1},
        {"p+ silicon", -1, {.Eg = 1.124, .Na = 1e24}, DefectType::neutral, 0.562, 1e18, 5.0851, +1},
    };
    for (const Row& r : rows) {
        LayerParameters layer;
        set_layer(layer, 0, r.figures);
        add_defect(layer, r.type, EnergyDistribution::gauss, r.Et, r.Nt, 0.1414);
        for (const int with_defects : {1, 0}) {
            ConvergenceParameters settings;
            settings.flatband_with_defects = with_defects;
            ContactParameters contact;
            CheckContactsWithActualLayerParameters(r.side, contact, layer, 300.0, settings);
            EXPECT_NEAR(contact.Fi_m, r.Fi_m, 1e-3) << r.what;
            EXPECT_EQ(contact.majority_type, r.majority) << r.what;
            EXPECT_EQ(contact.excess_barrier, 0.0) << r.what;
        }
    }
}

TEST(Contacts, FigureGivenByTheUserFixesTheOtherTwo)
{
    LayerParameters layer;
    ConvergenceParameters settings;
    for (const double Na : {1e22, 0.0}) {  // p-type, then n-type
        set_layer(layer, 0, {.Na = Na, .Nd = 1e22 - Na});
        ContactParameters flat;
        CheckContactsWithActualLayerParameters(-1, flat, layer, 350.0, settings);
        const double direction = Na > 0.0 ? -1.0 : 1.0;  // a barrier lowers the work function at a p-type layer

        ContactParameters given;
        given.flatband = false;
        given.Fi_m = flat.Fi_m + 0.2 * direction;
        CheckContactsWithActualLayerParameters(-1, given, layer, 350.0, settings);
        EXPECT_NEAR(given.excess_barrier, 0.2, 1e-12);
        EXPECT_NEAR(given.barrier, flat.barrier + 0.2, 1e-12);
        EXPECT_EQ(given.majority_type, flat.majority_type);

        for (const ContactEntry which : {ContactEntry::excess_barrier, ContactEntry::barrier}) {
            ContactParameters other = given;
            other.Fi_m = 1.0;
            if (which == ContactEntry::barrier) other.excess_barrier = 9.0;
            if (which == ContactEntry::excess_barrier) other.barrier = 9.0;
            CheckContactsWithActualLayerParameters(-1, other, layer, 350.0, settings, which);
            EXPECT_NEAR(other.Fi_m, given.Fi_m, 1e-12);
            EXPECT_NEAR(other.barrier, given.barrier, 1e-12);
            EXPECT_NEAR(other.excess_barrier, given.excess_barrier, 1e-12);
        }
    }
}

TEST(Contacts, IntrinsicLayerChangesNothing)
{
    LayerParameters layer;
    set_layer(layer, 0, {.Na = 1e20, .Nd = 1e20});
    ContactParameters contact;
    contact.Fi_m = 4.321;
    for (const int with_defects : {1, 0}) {
        ConvergenceParameters settings;
        settings.flatband_with_defects = with_defects;
        EXPECT_FALSE(CheckContactsWithActualLayerParameters(+1, contact, layer, 300.0, settings));
        EXPECT_EQ(contact.Fi_m, 4.321);
    }
    // Which is told, as flat bands were asked for.
    InputParameters set1 = test::cell_of({{.Na = 1e22}, {}});
    set1.cell.cell.right.Fi_m = 4.321;
    Report report;
    check_contacts(report, set1.cell, 300.0, set1.convergence);
    ASSERT_EQ(report.messages.size(), 1u);
    EXPECT_EQ(report.messages[0].text.find("right contact: flat bands have no meaning"), 0u);
    EXPECT_NE(report.messages[0].text.find("4.321 eV"), std::string::npos);
    set1.cell.cell.right.flatband = false;
    check_contacts(report, set1.cell, 300.0, set1.convergence);
    EXPECT_EQ(report.messages.size(), 1u);
}

}  // namespace
}  // namespace kovin
