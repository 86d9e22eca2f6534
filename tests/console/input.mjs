// SPDX-License-Identifier: Apache-2.0
// The same actions by mouse and by keyboard.
import assert from 'node:assert/strict';

const maxTabs = 200;
const maxArrows = 20;

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

  choose(locator) {
    return locator.check();
  }

  open(details) {
    return details.locator('summary').click();
  }
}

/// Uses only keys: Tab moves the focus, as for a user without a mouse.
export class Keyboard {
  constructor(page) {
    this.page = page;
  }

  async #focus(locator) {
    await locator.waitFor();
    for (let tabs = 0; tabs < maxTabs; ++tabs) {
      if (await locator.evaluate((element) => element === document.activeElement))
        return this.#checkFocusIsVisible();
      await this.page.keyboard.press('Tab');
    }
    assert.fail(`Tab does not reach ${locator}`);
  }

  async #checkFocusIsVisible() {
    const style = await this.page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
    assert.notEqual(style, 'none', 'the element with the focus does not show it');
  }

  async press(locator) {
    await this.#focus(locator);
    await this.page.keyboard.press('Enter');
  }

  async fill(locator, text) {
    await this.#focus(locator);
    await this.page.keyboard.press('Control+A');
    await this.page.keyboard.type(text);
  }

  /// Tab reaches a group of radio buttons once. The arrow keys move within the group.
  async choose(locator) {
    await locator.waitFor();
    const group = this.page.locator(`input[name="${await locator.getAttribute('name')}"]`);
    const isInGroup = () => group.evaluateAll((inputs) => inputs.includes(document.activeElement));
    for (let tabs = 0; !await isInGroup(); ++tabs) {
      assert.ok(tabs < maxTabs, `Tab does not reach the group of ${locator}`);
      await this.page.keyboard.press('Tab');
    }
    await this.#checkFocusIsVisible();
    await this.page.keyboard.press('Space');
    for (let arrows = 0; !await locator.isChecked(); ++arrows) {
      assert.ok(arrows < maxArrows, `the arrow keys do not reach ${locator}`);
      await this.page.keyboard.press('ArrowDown');
    }
  }

  async open(details) {
    await this.press(details.locator('summary'));
  }
}
