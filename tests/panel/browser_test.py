"""The page in a real browser: whatever parts the hand from its button, the axis stops."""

import os
import signal
import time
import unittest

from selenium.webdriver.common.by import By
from support import PATIENCE, Panel, await_that, browser, close_browser, processes_of_browser

SPEED = 20000  # pulses/s
