#include "ui/terminal/summary.h"

#include "base/text_format.h"
#include "base/text_scan.h"
#include "sweeps/admittance_spectroscopy.h"
#include "sweeps/doping_profile.h"

#include <cmath>
#include <limits>

namespace kovin {

namespace {

/// Quoted; a byte that is no UTF-8 (texts of files are Latin-1) becomes the code point of its value.
std::string json_text(std::string_view text)
{
    constexpr std::string_view hex = "0123456789abcdef";
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t length = utf8_length(text, i);
        if (byte == '"' || byte == '\\') {
            out += '\\';
            out += text[i++];
        } else if (byte < 0x20 || length == 0) {
            out += "\\u00";
            out += hex[byte >> 4];
            out += hex[byte & 15];
            ++i;
        } else {
            out += text.substr(i, length);
            i += length;
        }
    }
    return out + '"';
}

std::string number(bool valid, double value) { return valid && std::isfinite(value) ? shortest(value) : "null"; }

std::string iv_json(const DataListElement& element)
{
    const IVCharacteristics& r = element.characteristics;
    const bool power = r.FFValid || r.etaValid;
    return "{\"Voc\":" + number(r.VocValid, r.Voc) + ",\"Jsc\":" + number(r.JscValid, r.Jsc) +
           ",\"FF\":" + number(r.FFValid, r.FF) + ",\"eta\":" + number(r.etaValid, r.eta) +
           ",\"Vmpp\":" + number(power, r.Vmpp) + ",\"Jmpp\":" + number(power, r.Jmpp) +
           ",\"points\":" + integer(static_cast<long>(element.iv.points())) +
           ",\"J_error\":" + number(true, accuracy(element.iv).largest_error) +
           ",\"cut\":" + (element.iv.points() < element.IV_points ? "true" : "false") + '}';
}

/// What a curve of capacitances holds of what was asked for.
std::string points_json(std::size_t done, std::size_t asked)
{
    return "{\"points\":" + integer(static_cast<long>(done)) + ",\"cut\":" + (done < asked ? "true" : "false") + '}';
}

/// In place of a line through fewer than three points.
constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr MottSchottkyLine no_line{.intercept = unknown, .Vbi = unknown, .N = unknown, .epsilon = unknown, .points = 0};

bool capacitance_asked(const DataListElement& element) { return element.CV_points > 0 || element.Cf_points > 0; }

std::string capacitance_json(const DataListElement& element)
{
    if (!element.work_point) return "null";
    const WorkPointAdmittance& at = *element.work_point;
    const WorkPoint& wp = element.run.wp;
    return "{\"C\":" + number(true, at.C) + ",\"G\":" + number(true, at.G) +
           ",\"V\":" + number(true, wp.V * element.run.polarity.V + 0.0) +
           ",\"frequency\":" + number(true, wp.frequency) + '}';
}

std::string mott_schottky_json(const MottSchottkyLine& line)
{
    return "{\"Vbi\":" + number(true, line.Vbi) + ",\"intercept\":" + number(true, line.intercept) +
           ",\"N\":" + number(true, line.N) + ",\"epsilon\":" + number(true, line.epsilon) +
           ",\"points\":" + integer(static_cast<long>(line.points)) + '}';
}

std::string admittance_json(const DataListElement& element)
{
    const AsCurve& curve = element.as;
    const std::optional<std::size_t> peak = level_peak(element);
    const auto at_peak = [&](const std::vector<double>& column) {
        return number(peak.has_value(), column[peak.value_or(0)]);
    };
    return "{\"Et\":" + at_peak(curve.AS_Et) + ",\"slope\":" + at_peak(curve.AS_deriv) +
           ",\"Nt\":" + at_peak(curve.AS_Nt) + ",\"W_um\":" + number(true, 1e4 * curve.W) + '}';
}

std::string qe_json(const DataListElement& element)
{
    const QeCurve& c = element.qe;
    const bool any = c.points() > 0;
    const std::size_t top = any ? maximum_of(c) : 0;
    return "{\"maximum\":" + number(any, any ? c.qe[top] : 0.0) +
           ",\"at_nm\":" + number(any, any ? c.qe_as[top] : 0.0) +
           ",\"J_AM15G\":" + number(c.J_AM15G.has_value(), c.J_AM15G.value_or(0.0)) +
           ",\"Jsc\":" + number(c.Jsc.has_value(), c.Jsc.value_or(0.0)) +
           ",\"points\":" + integer(static_cast<long>(c.points())) +
           ",\"cut\":" + (c.points() < element.QE_points ? "true" : "false") + '}';
}

/// A line of the table: name, figure or a dash, unit.
void row(std::string& out, std::string_view name, bool valid, double value, int digits, std::string_view unit,
         std::string_view remark = {})
{
    out += "  ";
    out += name;
    out += valid ? fixed(value, 10, digits) + ' ' : std::string("         - ");
    out += unit;
    if (valid) out += remark;
    out += '\n';
}

void cut_row(std::string& out, std::string_view curve, std::size_t done, std::size_t asked)
{
    if (done >= asked) return;
    out += "  the ";
    out += curve;
    out += " is cut: " + integer(static_cast<long>(done)) + " of " + integer(static_cast<long>(asked)) + " points\n";
}

void iv_rows(std::string& out, const DataListElement& element, bool verbose)
{
    const IVCharacteristics& r = element.characteristics;
    const auto remark = [](bool extrapolated) { return extrapolated ? " (extrapolated)" : ""; };
    row(out, "Voc       ", r.VocValid, r.Voc, 4, "V", remark(r.VocExtrapolated));
    row(out, "Jsc       ", r.JscValid, r.Jsc, 3, "mA/cm2", remark(r.JscExtrapolated));
    row(out, "FF        ", r.FFValid, r.FF, 2, "%", remark(r.FFExtrapolated));
    row(out, r.etaIsCollection ? "collection" : "efficiency", r.etaValid && (r.VocValid || r.etaIsCollection), r.eta, 2,
        "%", remark(r.etaExtrapolated));
    cut_row(out, "curve", element.iv.points(), element.IV_points);
    const double error = accuracy(element.iv).largest_error;
    if (verbose && std::isfinite(error)) out += "  J is certain to " + scientific(error, 0, 1) + " mA/cm2\n";
}

void capacitance_rows(std::string& out, const DataListElement& element)
{
    if (capacitance_asked(element)) {
        const WorkPoint& wp = element.run.wp;
        row(out, "C         ", element.work_point.has_value(), element.work_point.value_or(WorkPointAdmittance{}).C, 3,
            "nF/cm2",
            " at " + fixed(wp.V * element.run.polarity.V + 0.0, 0, 3) + " V, " + scientific(wp.frequency, 0, 1) +
                " Hz");
    }
    const auto curve_row = [&](const char* name, std::size_t done, std::size_t asked) {
        if (asked > 0 && done == 0)
            out += std::string("  no ") + name + ": its first point has no solution\n";
        else
            cut_row(out, name, done, asked);
    };
    curve_row("C-V curve", element.cv.points(), element.CV_points);
    curve_row("C-f curve", element.cf.points(), element.Cf_points);
}

/// What the analyses read out of C-V and C-f.
void analysis_rows(std::string& out, const DataListElement& element)
{
    if (element.cv.points() > 0) {
        const MottSchottkyLine line = mott_schottky_line(element.cv).value_or(no_line);
        row(out, "Vbi (C-V) ", std::isfinite(line.Vbi), line.Vbi, 4, "V");
        out += "  N (C-V)   ";
        out += std::isfinite(line.N) ? scientific(line.N, 10, 3) + " /cm3 with eps " + fixed(line.epsilon, 0, 2) + '\n'
                                     : "         - /cm3\n";
    }
    if (element.as.points() == 0) return;
    const std::optional<std::size_t> peak = level_peak(element);
    row(out, "level (AS)", peak.has_value(), peak ? element.as.AS_Et[*peak] : 0.0, 4, "eV");
    if (peak_is_of_Rs(element)) out += "  the step of the C-f curve is that of the series resistance\n";
}

void qe_rows(std::string& out, const DataListElement& element)
{
    const QeCurve& c = element.qe;
    if (c.points() > 0) {
        const std::size_t top = maximum_of(c);
        row(out, "QE maximum", true, c.qe[top], 2, "%", " at " + fixed(c.qe_as[top], 0, 1) + " nm");
        const std::string beside = c.Jsc ? " (Jsc " + fixed(*c.Jsc, 0, 3) + ")" : "";
        row(out, "QE, AM1.5G", c.J_AM15G.has_value(), c.J_AM15G.value_or(0.0), 3, "mA/cm2", beside);
    }
    cut_row(out, "quantum efficiency", c.points(), element.QE_points);
}

}  // namespace

std::string summary_table(const Summary& summary)
{
    std::string out = summary.problem + '\n';
    if (summary.curves != nullptr) {
        const DataListElement& curves = *summary.curves;
        // A C-V has states of the I-V curve as well: in the dark there is nothing to tell of them.
        const bool asked_IV = curves.actions.IV_calculate;
        if (curves.iv.points() > 0 && (asked_IV || !curves.run.wp.dark))
            iv_rows(out, curves, summary.verbose);
        else if (asked_IV && curves.iv.points() == 0)
            out += "  no I-V curve: its first point did not converge\n";
        capacitance_rows(out, curves);
        analysis_rows(out, curves);
        qe_rows(out, curves);
    }
    for (const auto& [kind, path] : summary.files) out += "  " + path.string() + '\n';
    return out;
}

std::string summary_json(const Summary& summary)
{
    std::string out = "{\"problem\":" + json_text(summary.problem);
    out += ",\"converged\":";
    out += summary.converged ? "true" : "false";
    const DataListElement* const curves = summary.curves;
    const bool has_iv = curves != nullptr && curves->IV_points > 0;
    const bool has_qe = curves != nullptr && curves->QE_points > 0;
    out += ",\"iv\":" + (has_iv ? iv_json(*curves) : std::string("null"));
    if (curves != nullptr && capacitance_asked(*curves)) out += ",\"capacitance\":" + capacitance_json(*curves);
    if (curves != nullptr && curves->CV_points > 0)
        out += ",\"cv\":" + points_json(curves->cv.points(), curves->CV_points);
    if (curves != nullptr && curves->Cf_points > 0)
        out += ",\"cf\":" + points_json(curves->cf.points(), curves->Cf_points);
    if (curves != nullptr) {
        if (curves->cv.points() > 0)
            out += ",\"mott_schottky\":" + mott_schottky_json(mott_schottky_line(curves->cv).value_or(no_line));
        if (curves->as.points() > 0) out += ",\"as\":" + admittance_json(*curves);
    }
    if (has_qe) out += ",\"qe\":" + qe_json(*curves);
    out += ",\"files\":{";
    for (std::size_t i = 0; i < summary.files.size(); ++i)
        out +=
            (i > 0 ? "," : "") + json_text(summary.files[i].first) + ':' + json_text(summary.files[i].second.string());
    out += "},\"messages\":[";
    for (std::size_t i = 0; i < summary.messages.size(); ++i)
        out += (i > 0 ? "," : "") + json_text(summary.messages[i]);
    return out + "]}\n";
}

}  // namespace kovin
