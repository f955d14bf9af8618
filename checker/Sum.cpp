/// \file
/// The cutting-planes rules.
#include "Sum.h"

#include <algorithm>

namespace checker {

Integer& Sum::coefficientOf(Var variable) {
  if (variable >= coefficients.size()) {
    coefficients.resize(variable + std::size_t{1});
    is_used.resize(coefficients.size());
  }
  if (is_used[variable] == 0) {
    is_used[variable] = 1;
    used.push_back(variable);
  }
  return coefficients[variable];
}

Integer Sum::degree() const {
  Integer result = bound;
  for (const Var v : used)
    if (coefficients[v].sign() < 0) result -= coefficients[v];
  return result;
}

void Sum::clear() {
  for (const Var v : used) {
    coefficients[v] = 0;
    is_used[v] = 0;
  }
  used.clear();
  bound = 0;
}

void Sum::addTerm(const Integer& factor, Lit literal) {
  Integer& coefficient = coefficientOf(literal.variable());
  if (literal.negated()) { // factor - factor * variable
    coefficient -= factor;
    bound -= factor;
  } else {
    coefficient += factor;
  }
}

void Sum::add(const Row& row, const Integer& factor) {
  const bool once = factor == 1;
  for (const Term& t : row.terms) addTerm(once ? t.coefficient : t.coefficient * factor, t.literal);
  bound += row.degree * factor;
}

void Sum::add(const Sum& other, const Integer& factor) {
  const bool once = factor == 1;
  for (const Var v : other.used) {
    const Integer& what = other.coefficients[v];
    coefficientOf(v) += once ? what : what * factor;
  }
  bound += other.bound * factor;
}

void Sum::multiply(const Integer& factor) {
  for (const Var v : used) coefficients[v] *= factor;
  bound *= factor;
}

void Sum::divide(const Integer& divisor) {
  bound = degree().over(divisor);
  for (const Var v : used) {
    Integer& c = coefficients[v];
    if (c.sign() >= 0) {
      c = c.over(divisor);
    } else { // -c rounded up
      c = c.under(divisor);
      bound += c;
    }
  }
}

void Sum::divideVariables(const Integer& divisor) {
  for (const Var v : used) coefficients[v] = coefficients[v].over(divisor);
  bound = bound.over(divisor);
}

void Sum::saturate() {
  const Integer least = std::max(degree(), Integer(0));
  for (const Var v : used) {
    Integer& c = coefficients[v];
    if (c.sign() >= 0) {
      c = std::min(c, least);
    } else if (-c > least) { // the bound moves so that the degree stays
      bound -= c + least;
      c = -least;
    }
  }
}

void Sum::weaken(Var variable) {
  Integer& c = coefficientOf(variable);
  if (c.sign() > 0) bound -= c; // plus c * (~x >= 0), which is -x >= -1
  c = 0;
}

void Sum::roundMixed(const Integer& divisor, bool literal_form) {
  Integer least = literal_form ? degree() : bound;
  const Integer rest = least - least.under(divisor) * divisor;
  const auto rounded = [&](const Integer& a) {
    const Integer quotient = a.under(divisor);
    return rest * quotient + std::min(a - quotient * divisor, rest);
  };
  bound = rest * least.over(divisor);
  for (const Var v : used) {
    Integer& c = coefficients[v];
    if (c.sign() >= 0 || !literal_form) {
      c = rounded(c);
    } else {
      c = -rounded(-c);
      bound += c;
    }
  }
}

Row Sum::row() const {
  Row result;
  result.terms.reserve(static_cast<std::size_t>(std::count_if(
      used.begin(), used.end(), [this](Var v) { return coefficients[v].sign() != 0; })));
  for (const Var v : used)
    if (const Integer& c = coefficients[v]; c.sign() != 0)
      result.terms.push_back({magnitude(c), Lit(v, c.sign() < 0)});
  result.degree = degree();
  return result;
}

} // namespace checker
