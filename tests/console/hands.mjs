// SPDX-License-Identifier: Apache-2.0
// The same things done by mouse and by keyboard.
import assert from 'node:assert/strict';

const mostTabs = 200;

export class Mouse {
  constructor(page) {
    this.page = page;
  }

  press(locator) {
    return locator.click();
  }

  fill(locator, text) {
    return locator.fill(text);
  }

  pick(locator) {
    return locator.check();
  }

  open(details) {
    return details.locator('summary').click();
  }
}

/// Nothing but keys: Tab until the focus is there, as somebody without a mouse would.
export class Keyboard {
  constructor(page) {
    this.page = page;
  }

  async #reach(locator) {
    await locator.waitFor();
    for (let tabs = 0; tabs < mostTabs; ++tabs) {
      if (await locator.evaluate((element) => element === document.activeElement))
        return this.#mustBeSeen();
      await this.page.keyboard.press('Tab');
    }
    assert.fail(`Tab does not lead to ${locator}`);
  }

  /// The focus is shown.
  async #mustBeSeen() {
    const style = await this.page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
    assert.notEqual(style, 'none', 'what has the focus does not show it');
  }

  async press(locator) {
    await this.#reach(locator);
    await this.page.keyboard.press('Enter');
  }

  async fill(locator, text) {
    await this.#reach(locator);
    await this.page.keyboard.press('Control+A');
    await this.page.keyboard.type(text);
  }

  /// A group of radio buttons is one stop, and arrows move in it.
  async pick(locator) {
    await locator.waitFor();
    const group = this.page.locator(`input[name="${await locator.getAttribute('name')}"]`);
    const inGroup = () => group.evaluateAll((inputs) => inputs.includes(document.activeElement));
    for (let tabs = 0; !await inGroup(); ++tabs) {
      assert.ok(tabs < mostTabs, `Tab does not lead to the group of ${locator}`);
      await this.page.keyboard.press('Tab');
    }
    await this.#mustBeSeen();
    await this.page.keyboard.press('Space');
    for (let steps = 0; !await locator.isChecked(); ++steps) {
      assert.ok(steps < 20, `the arrows do not lead to ${locator}`);
      await this.page.keyboard.press('ArrowDown');
    }
  }

  async open(details) {
    await this.press(details.locator('summary'));
  }
}
