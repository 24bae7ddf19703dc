// Complex numbers of inner loops. The product of std::complex looks for infinities each time, which costs more than the
// product itself; here a value that is no number just spreads and is found at the end.
#pragma once

namespace kovin {

struct Complex {
    double re = 0.0, im = 0.0;
};

constexpr Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }
constexpr Complex operator-(Complex a, Complex b) { return {a.re - b.re, a.im - b.im}; }
constexpr Complex operator-(Complex a) { return {-a.re, -a.im}; }
constexpr Complex operator*(Complex a, Complex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
constexpr Complex operator*(double a, Complex b) { return {a * b.re, a * b.im}; }
constexpr Complex& operator+=(Complex& a, Complex b) { return a = a + b; }
constexpr Complex& operator-=(Complex& a, Complex b) { return a = a - b; }

/// 1/a. @pre the square of |a| neither overflows nor underflows
constexpr Complex inverse(Complex a)
{
    const double r = 1.0 / (a.re * a.re + a.im * a.im);
    return {a.re * r, -a.im * r};
}

}  // namespace kovin
