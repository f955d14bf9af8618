/// \file
/// Operands and operations.
#include "Polish.h"

#include "Refusal.h"

#include <algorithm>

namespace checker {

using Kind = Lexer::Kind;

Polish::Operand& Polish::top(std::size_t depth) {
  if (depth >= stack.size()) throw Refusal("an operand is missing");
  return stack[stack.size() - 1 - depth];
}

/// A number that is not used as one is an identifier.
void Polish::makeConstraint(Operand& operand) const {
  if (operand.kind != Operand::Kind::number) return;
  operand.row = &row_of(operand.number);
  operand.kind = Operand::Kind::row;
  operand.number = 1;
}

/// The topmost operand, laid out to be worked on.
Sum& Polish::makeSum() {
  Operand& operand = top();
  makeConstraint(operand);
  if (operand.kind == Operand::Kind::sum) return sums[used - 1];
  if (used == sums.size()) sums.emplace_back();
  Sum& sum = sums[used++];
  sum.clear();
  if (operand.kind == Operand::Kind::row)
    sum.add(*operand.row, operand.number);
  else
    sum.addTerm(operand.number, operand.literal);
  operand.kind = Operand::Kind::sum;
  return sum;
}

Integer Polish::popNumber(int least) {
  if (top().kind != Operand::Kind::number) throw Refusal("a number is missing before an operation");
  Integer result = std::move(top().number);
  if (result < least)
    throw Refusal("the number before an operation must be at least " + std::to_string(least));
  stack.pop_back();
  return result;
}

void Polish::add() {
  makeConstraint(top(0));
  makeConstraint(top(1));
  if (top(1).kind != Operand::Kind::sum) {
    if (top(0).kind == Operand::Kind::sum) {
      std::swap(top(0), top(1)); // the order of summands means nothing
    } else {
      const Operand second = std::move(top());
      stack.pop_back();
      makeSum();
      stack.push_back(second);
    }
  }
  const Operand& second = top();
  if (second.kind == Operand::Kind::sum) {
    sums[used - 2].add(sums[used - 1], 1);
    used--;
  } else if (second.kind == Operand::Kind::row) {
    sums[used - 1].add(*second.row, second.number);
  } else {
    sums[used - 1].addTerm(second.number, second.literal);
  }
  stack.pop_back();
}

void Polish::apply(char operation) {
  switch (operation) {
  case '+':
    return add();
  case '*': {
    const Integer factor = popNumber(0);
    makeConstraint(top());
    if (top().kind == Operand::Kind::sum)
      makeSum().multiply(factor);
    else
      top().number *= factor;
    return;
  }
  case 'd': {
    const Integer divisor = popNumber(1);
    return makeSum().divide(divisor);
  }
  case 'c': {
    const Integer divisor = popNumber(1);
    return makeSum().divideVariables(divisor);
  }
  case 'm':
  case 'n': {
    const Integer divisor = popNumber(1);
    return makeSum().roundMixed(divisor, operation == 'n');
  }
  case '-': {
    const Integer what = popNumber(0);
    return makeSum().lower(what);
  }
  case 's':
    return makeSum().saturate();
  case 'w': {
    const Operand& variable = top();
    if (variable.kind != Operand::Kind::literal || variable.literal.negated() ||
        variable.number != 1)
      throw Refusal("a variable is missing before 'w'");
    const Var v = variable.literal.variable();
    stack.pop_back();
    return makeSum().weaken(v);
  }
  default:
    throw Refusal(std::string("unknown operation '") + operation + "'");
  }
}

Row Polish::derive(Syntax& syntax) {
  stack.clear();
  used = 0;
  while (syntax.atWord()) {
    if (syntax.atNumber()) {
      stack.push_back({Operand::Kind::number, syntax.number()});
    } else if (const std::string_view word = syntax.lexer.word(); word.size() == 1) {
      const char operation = word[0];
      syntax.lexer.take();
      apply(operation);
    } else if (word[0] == '@') {
      stack.push_back({Operand::Kind::row, 1, {}, &row_of_label(syntax.word())});
    } else {
      stack.push_back({Operand::Kind::literal, 1, syntax.literal()});
    }
  }
  syntax.finish();
  if (stack.size() != 1) throw Refusal("the derivation does not end with one constraint");
  return makeSum().row();
}

} // namespace checker
